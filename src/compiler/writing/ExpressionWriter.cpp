#include "compiler/writing/ExpressionWriter.h"

#include "compiler/Workspace.h"
#include "compiler/lexing/Words.h"
#include "program/AST.h"

#include <QLocale>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {
constexpr int kUnary = 12;
constexpr int kPostfix = ExpressionWriter::kPostfix;

struct Operator
{
    const char *sign;
    int code;
    int binding; // as the parser's
};

constexpr Operator kCalculations[] = { { "|", '|', 6 },  { "^", '^', 7 },  { "&", '&', 8 },  { "+", '+', 10 },
                                       { "-", '-', 10 }, { "*", '*', 11 }, { "/", '/', 11 }, { "mod", '%', 11 } };
constexpr Operator kComparisonSigns[] = {
    { "or", NumberBoolExpression::Or, 1 },           { "xor", NumberBoolExpression::Xor, 2 },
    { "and", NumberBoolExpression::And, 3 },         { "=", NumberBoolExpression::Equal, 4 },
    { "<>", NumberBoolExpression::NotEqual, 4 },     { "<", NumberBoolExpression::Less, 5 },
    { "<=", NumberBoolExpression::LessEqual, 5 },    { ">", NumberBoolExpression::Greater, 5 },
    { ">=", NumberBoolExpression::GreaterEqual, 5 },
};

template <size_t Size>
const Operator *rowOf(const Operator (&table)[Size], int code)
{
    const auto *const row =
        std::find_if(std::begin(table), std::end(table), [code](const Operator &entry) { return entry.code == code; });
    return row != std::end(table) ? row : nullptr;
}

bool isWritable(const QString &text)
{
    return std::none_of(text.begin(), text.end(),
                        [](QChar character) {
                            return character == QLatin1Char('\n') || character == QLatin1Char('\r') ||
                                   character.isNull();
                        }) &&
           QString::fromUtf8(text.toUtf8()) == text;
}

bool isEventName(const QString &name)
{
    static const QStringList kNames{ QStringLiteral("BUTTON"), QStringLiteral("DATA"), QStringLiteral("LEVEL"),
                                     QStringLiteral("TIMELINE") };
    return kNames.contains(name, Qt::CaseInsensitive);
}
} // namespace

QString remark(const QString &text)
{
    QString safe = text;
    safe.replace(QLatin1String("*/"), QLatin1String("* /"));
    safe.replace(QLatin1Char('\n'), QLatin1Char(' '));
    safe.replace(QLatin1Char('\r'), QLatin1Char(' '));
    safe.remove(QChar(0));
    return QStringLiteral("/* %1 */").arg(safe);
}

QString numberText(double number)
{
    const QString text = QString::number(number, 'g', QLocale::FloatingPointShortest);
    return number == 0 && std::signbit(number) ? QStringLiteral("-0") : text;
}

QString quoted(const QString &text)
{
    if (!isWritable(text)) {
        return bytesText(text.toUtf8());
    }
    QString doubled = text;
    doubled.replace(QLatin1Char('\''), QLatin1String("''"));
    return QStringLiteral("'%1'").arg(doubled);
}

QString bytesText(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes);
    const bool isPlain = std::none_of(bytes.begin(), bytes.end(),
                                      [](char byte) { return static_cast<quint8>(byte) < 32 || byte == 127; });
    if (isPlain && text.toUtf8() == bytes && isWritable(text)) {
        return quoted(text);
    }
    QStringList parts;
    QString run;
    const auto endRun = [&parts, &run] {
        if (!run.isEmpty()) {
            parts += quoted(run);
            run.clear();
        }
    };
    for (const char byte : bytes) {
        const auto code = static_cast<quint8>(byte);
        if (code >= 32 && code < 127) {
            run += QLatin1Char(byte);
        } else {
            endRun();
            parts += QStringLiteral("$%1").arg(code, 2, 16, QLatin1Char('0')).toUpper();
        }
    }
    endRun();
    return QStringLiteral("\"%1\"").arg(parts.join(QStringLiteral(", ")));
}

QString ExpressionWriter::text(const Expression *node, int leastBinding) const
{
    if (!node) {
        return QStringLiteral("0 ") + remark(QStringLiteral("an expression is missing here"));
    }
    const Written written =
        visitNode<Written>(ExpressionTypes(), *node, [this](const auto &expression) { return write(expression); });
    return written.binding < leastBinding ? QStringLiteral("(%1)").arg(written.text) : written.text;
}

ExpressionWriter::Written ExpressionWriter::write(const ConstExpression &node) const
{
    return { std::isfinite(node.value) ? numberText(node.value)
                                       : QStringLiteral("0 ") + remark(QStringLiteral("the number is not finite")),
             std::signbit(node.value) ? kUnary : kPostfix };
}

ExpressionWriter::Written ExpressionWriter::write(const ShiftExpression &node) const
{
    const bool isLeft = node.direction == ShiftExpression::Left;
    const QString note = isLeft || node.direction == ShiftExpression::Right
                             ? QString()
                             : remark(QStringLiteral("shift direction %1").arg(node.direction));
    return binary(node.value.get(), isLeft ? QStringLiteral("<<") : QStringLiteral(">>") + note, node.count.get(), 9);
}

ExpressionWriter::Written ExpressionWriter::write(const NotExpression &node) const
{
    return { QStringLiteral("not ") + text(node.operand.get(), kUnary), kUnary };
}

ExpressionWriter::Written ExpressionWriter::write(const BNotExpression &node) const
{
    return { QStringLiteral("~") + text(node.operand.get(), kUnary), kUnary };
}

ExpressionWriter::Written ExpressionWriter::write(const StepExpression &node) const
{
    const QString sign = node.typeTag() == IncExpression::kTag ? QStringLiteral("++") : QStringLiteral("--");
    const QString operand = text(node.operand.get(), kPostfix);
    return node.isPrefix ? Written{ sign + operand, kUnary } : Written{ operand + sign };
}

ExpressionWriter::Written ExpressionWriter::write(const UMinusExpression &node) const
{
    const auto *constant = as<ConstExpression>(node.operand.get());
    const QString operand = text(node.operand.get(), kUnary);
    if (constant && !std::signbit(constant->value)) { // -5 would be a number of its own
        return { QStringLiteral("-(%1)").arg(operand), kUnary };
    }
    const QString sign = operand.startsWith(QLatin1Char('-')) ? QStringLiteral("- ") : QStringLiteral("-");
    return { sign + operand, kUnary };
}

ExpressionWriter::Written ExpressionWriter::binary(const Expression *left, const QString &sign, const Expression *right,
                                                   int binding) const
{
    return { QStringLiteral("%1 %2 %3").arg(text(left, binding), sign, text(right, binding + 1)), binding };
}

ExpressionWriter::Written ExpressionWriter::write(const NumberBoolExpression &node) const
{
    if (const Operator *row = rowOf(kComparisonSigns, node.operatorCode)) {
        return binary(node.left.get(), QString::fromLatin1(row->sign), node.right.get(), row->binding);
    }
    const QString note = remark(QStringLiteral("operator %1").arg(node.operatorCode));
    if (node.operatorCode == NumberBoolExpression::Truth) {
        const ConstExpression zero;
        return binary(node.left.get(), QStringLiteral("<> ") + note, &zero, 4);
    }
    return binary(node.left.get(), QStringLiteral("= ") + note, node.right.get(), 4);
}

ExpressionWriter::Written ExpressionWriter::write(const CalcExpression &node) const
{
    if (const Operator *row = rowOf(kCalculations, node.operatorCode)) {
        return binary(node.left.get(), QString::fromLatin1(row->sign), node.right.get(), row->binding);
    }
    return binary(node.left.get(), QStringLiteral(">> ") + remark(QStringLiteral("operator %1").arg(node.operatorCode)),
                  node.right.get(), 9);
}

ExpressionWriter::Written ExpressionWriter::write(const VarExpression &node) const
{
    return { nameText(node.name) };
}

ExpressionWriter::Written ExpressionWriter::write(const ArrayExpression &node) const
{
    return { QStringLiteral("%1[%2]").arg(baseText(node.base.get()), text(node.index.get())) };
}

ExpressionWriter::Written ExpressionWriter::write(const StructExpression &node) const
{
    const QString name =
        isMemberName(node.memberName) ? node.memberName : remark(QStringLiteral("\"%1\"").arg(node.memberName));
    return { QStringLiteral("%1.%2").arg(baseText(node.base.get()), name) };
}

ExpressionWriter::Written ExpressionWriter::write(const CallExpression &node) const
{
    return { QStringLiteral("0 ") + remark(QStringLiteral("the routine %1 as a value").arg(node.functionName)) };
}

ExpressionWriter::Written ExpressionWriter::write(const ButtonExpression &node) const
{
    return { buttonText(node) };
}

ExpressionWriter::Written ExpressionWriter::write(const DeviceExpr &node) const
{
    const QString note = node.variable ? QStringLiteral(" ") + remark(QStringLiteral("as a device")) : QString();
    return { deviceText(&node) + note };
}

QString ExpressionWriter::baseText(const Expression *base) const
{
    const bool isPlace = as<VarExpression>(base) || as<ArrayExpression>(base) || as<StructExpression>(base);
    return isPlace ? text(base, kPostfix)
                   : QStringLiteral("(%1)").arg(text(base)) + remark(QStringLiteral("not a variable"));
}

QString ExpressionWriter::nameText(const QString &name) const
{
    if (HiddenLists::isHiddenName(name)) {
        if (const Array *list = asArray(m_program.findGlobal(Name(name)))) {
            return valueText(*list);
        }
    }
    if (isPlainName(name) || isEventName(name)) {
        return name;
    }
    return QStringLiteral("0 ") + remark(QStringLiteral("the variable \"%1\"").arg(name));
}

ExpressionWriter::Written ExpressionWriter::write(const StringExpression &node) const
{
    if (!node.list) {
        const QString note =
            isWritable(node.text) ? QString() : QStringLiteral(" ") + remark(QStringLiteral("one text"));
        return { quoted(node.text) + note };
    }
    QStringList parts;
    for (const auto &item : node.list->items) {
        const QString part = text(item.get());
        parts += part.startsWith(QLatin1Char('"')) ? QStringLiteral("(%1)").arg(part) : part;
    }
    return { QStringLiteral("\"%1\"").arg(parts.join(QStringLiteral(", "))) };
}

QString ExpressionWriter::listText(const ExpressionList &list) const
{
    QStringList parts;
    for (const auto &item : list.items) {
        parts += text(item.get());
    }
    return parts.join(QStringLiteral(", "));
}

ExpressionWriter::Written ExpressionWriter::write(const FuncCallExpression &node) const
{
    const QString arguments = node.arguments ? listText(*node.arguments) : remark(QStringLiteral("no argument list"));
    const QString name = isPlainName(node.functionName)
                             ? node.functionName
                             : remark(QStringLiteral("\"%1\"").arg(node.functionName)) + QStringLiteral("unknown");
    return { QStringLiteral("%1(%2)").arg(name, arguments) };
}

QString ExpressionWriter::buttonText(const ButtonExpression &button) const
{
    QStringList parts;
    for (const ButtonExpression::Item &item : button.items) {
        if (const auto *expression = std::get_if<std::unique_ptr<Expression>>(&item)) {
            parts += text(expression->get());
        } else if (const auto *device = std::get_if<std::unique_ptr<Device>>(&item); device && *device) {
            parts += (*device)->address().text();
        } else {
            parts += QStringLiteral("0 ") + remark(QStringLiteral("an empty item"));
        }
    }
    if (parts.isEmpty()) {
        parts += remark(QStringLiteral("no item"));
    }
    return QStringLiteral("[%1]").arg(parts.join(QStringLiteral(", ")));
}

QString ExpressionWriter::deviceText(const DeviceExpr *device) const
{
    if (device && device->device) {
        return device->device->address().text();
    }
    if (device && device->variable) {
        return text(device->variable.get());
    }
    if (!device || !device->parts || device->parts->items.size() != 3) {
        return QStringLiteral("0:1:0 ") + remark(QStringLiteral("no device"));
    }
    QStringList parts;
    for (const auto &part : device->parts->items) {
        parts += QStringLiteral("(%1)").arg(text(part.get()));
    }
    return parts.join(QLatin1Char(':'));
}

QString ExpressionWriter::addressText(const DeviceAddress &address) const
{
    for (const BasicType *value : m_program.globalsInOrder()) {
        const Device *device = asDevice(value);
        if (device && device->isConst() && device->address() == address && isPlainName(device->name().text())) {
            return device->name().text();
        }
    }
    return address.text();
}

QString ExpressionWriter::valueText(const BasicType &value) const
{
    if (const Double *number = asDouble(&value)) {
        return std::isfinite(number->value())
                   ? numberText(number->value())
                   : QStringLiteral("0 ") + remark(QStringLiteral("the number is not finite"));
    }
    if (const Device *device = asDevice(&value)) {
        return addressText(device->address());
    }
    if (const StructType *structure = asStruct(&value)) {
        return structText(*structure);
    }
    const Array *array = asArray(&value);
    if (array->typeCode() == CharType && array->isPackedBytes() && !HiddenLists::isHiddenName(array->name().text())) {
        return bytesText(array->toBytes());
    }
    QStringList items;
    for (int index = 1; index <= array->length(); ++index) {
        const ValueView element = array->view(index);
        items += element.isNumber() ? valueText(Double(element.number))
                 : element.object   ? valueText(*element.object)
                                    : QStringLiteral("0");
    }
    return QStringLiteral("{%1}").arg(items.join(QStringLiteral(", ")));
}

/// The members in the order of their declaration, as far as they are set.
QString ExpressionWriter::structText(const StructType &value) const
{
    const CustomTypeInfo *info = m_program.findType(value.typeCode());
    if (!info) {
        return QStringLiteral("{} ") + remark(QStringLiteral("a structure of unknown type %1").arg(value.typeCode()));
    }
    QStringList items;
    int set = 0;
    for (const TypeDecl &member : info->members()) {
        const BasicType *content = value.member(Name(member.name));
        items += content ? valueText(*content)
                         : QStringLiteral("0 ") + remark(QStringLiteral("no member %1").arg(member.name));
        if (content && content->isInitialised()) {
            set = items.size();
        }
    }
    return QStringLiteral("{%1}").arg(QStringList(items.mid(0, set)).join(QStringLiteral(", ")));
}
