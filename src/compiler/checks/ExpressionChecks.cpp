#include "compiler/checks/ExpressionChecks.h"

#include "compiler/checks/Builtins.h"

#include <QRegularExpression>

#include <algorithm>

namespace {
const ConstExpression *numberLiteral(const Operand &operand)
{
    return as<ConstExpression>(operand.node.get());
}

const StringExpression *textNode(const Operand &operand)
{
    return as<StringExpression>(operand.node.get());
}

/// 'text' of more than a byte, or "a list of some": what is no character.
bool isLongText(const Operand &operand)
{
    const StringExpression *text = textNode(operand);
    return text && (text->list ? text->list->items.size() > 1 : text->text.toUtf8().size() > 1);
}

bool isUnsigned(const StaticType &type)
{
    return type.dimensions == 0 &&
           (type.code == IntegerType || type.code == LongType || type.code == CharType || type.code == WideCharType);
}

/// A comparison of a variable with a number: x <> 1
struct Compared
{
    const VarExpression *variable = nullptr;
    const ConstExpression *number = nullptr;
    int operatorCode = 0;
};

std::optional<Compared> comparedNumber(const Operand &operand)
{
    const auto *node = as<NumberBoolExpression>(operand.node.get());
    Compared compared;
    if (node) {
        compared = { as<VarExpression>(node->left.get()), as<ConstExpression>(node->right.get()), node->operatorCode };
    }
    return compared.variable && compared.number ? std::optional(compared) : std::nullopt;
}
} // namespace

void ExpressionChecks::combining(const Token &sign, const Operand &left, const Operand &right, size_t leftMarks,
                                 size_t rightMarks)
{
    switch (sign.kind) {
    case TokenKind::And:
    case TokenKind::Or:
        logical(sign, left, right, leftMarks, rightMarks);
        break;
    case TokenKind::Assign:
    case TokenKind::Equal:
    case TokenKind::NotEqual:
    case TokenKind::Less:
    case TokenKind::LessEqual:
    case TokenKind::Greater:
    case TokenKind::GreaterEqual:
        comparison(sign, left, right);
        break;
    case TokenKind::Plus:
        sum(left, right);
        break;
    case TokenKind::Slash:
    case TokenKind::Percent: {
        const auto *divisor = as<VarExpression>(right.node.get());
        const std::optional<double> known =
            m_work.inInitialValue ? std::nullopt : m_work.constants.number(right.node.get());
        if (known && isZeroNumber(*known)) {
            report(Fault::ZeroDivisor, right.position);
        } else if (divisor) {
            mark(Mark::Kind::Division, divisor->name, sign.position);
        }
        break;
    }
    default:
        break;
    }
}

void ExpressionChecks::logical(const Token &sign, const Operand &left, const Operand &right, size_t leftMarks,
                               size_t rightMarks)
{
    const bool isAnd = sign.is(TokenKind::And);
    const QString word = isAnd ? QStringLiteral("and") : QStringLiteral("or");
    const auto isLiteral = [](const Operand &side) {
        return numberLiteral(side) || (textNode(side) && !textNode(side)->list);
    };
    if (isLiteral(left) != isLiteral(right) && !(left.isLiteral && right.isLiteral)) {
        report(Fault::LiteralOperand, isLiteral(left) ? left.position : right.position, { word });
    }
    const std::optional<Compared> first = comparedNumber(left);
    const std::optional<Compared> second = comparedNumber(right);
    const int contrary = isAnd ? NumberBoolExpression::Equal : NumberBoolExpression::NotEqual;
    if (first && second && first->variable->name == second->variable->name && first->operatorCode == contrary &&
        second->operatorCode == contrary && !numbersEqual(first->number->value, second->number->value)) {
        report(Fault::ConstantCondition, left.position, { isAnd ? QStringLiteral("false") : QStringLiteral("true") });
    }
    for (size_t i = rightMarks; i < m_marks.size(); ++i) {
        const Mark &found = m_marks[i];
        const bool isGuarded =
            std::any_of(m_marks.begin() + static_cast<std::ptrdiff_t>(leftMarks),
                        m_marks.begin() + static_cast<std::ptrdiff_t>(rightMarks), [&found](const Mark &seen) {
                            return seen.kind == Mark::Kind::Variable && seen.name == found.name;
                        });
        switch (found.kind) {
        case Mark::Kind::Variable:
            break;
        case Mark::Kind::Call:
            m_guardedCalls.push_back({ found, word });
            break;
        case Mark::Kind::BuiltinCall:
            report(Fault::UnguardedOperand, found.position, { word, QStringLiteral("call") });
            break;
        case Mark::Kind::State:
            report(Fault::UnguardedOperand, found.position, { word, QStringLiteral("question to a panel") });
            break;
        case Mark::Kind::Division:
            if (isGuarded) {
                report(Fault::UnguardedOperand, found.position, { word, QStringLiteral("division") });
            }
            break;
        }
    }
}

void ExpressionChecks::comparison(const Token &sign, const Operand &left, const Operand &right)
{
    const auto isText = [](const Operand &side) {
        const StringExpression *node = textNode(side);
        return node ? !node->list && node->text.toUtf8().size() != 1 : side.type == kTextType && side.isStored;
    };
    const auto isNumber = [](const Operand &side) {
        return side.type.isNumber() && (side.isStored || numberLiteral(side));
    };
    if ((isText(left) && isNumber(right)) || (isNumber(left) && isText(right))) {
        report(Fault::TextNumber, left.position);
    }
    const ConstExpression *bound = numberLiteral(right);
    const bool isAtLeast = sign.is(TokenKind::GreaterEqual);
    if (bound && bound->value == 0 && isUnsigned(left.type) && left.isStored &&
        (isAtLeast || sign.is(TokenKind::Less))) {
        report(Fault::ConstantCondition, left.position,
               { isAtLeast ? QStringLiteral("true") : QStringLiteral("false") });
    }
}

void ExpressionChecks::sum(const Operand &left, const Operand &right)
{
    const auto isText = [](const Operand &side) {
        const auto *call = as<FuncCallExpression>(side.node.get());
        return isLongText(side) || (call && givesText(call->functionName));
    };
    const auto isVariable = [](const Operand &side) { return side.isStored && side.type == kTextType; };
    if (isText(left) || isText(right) || (isVariable(left) && isVariable(right))) {
        report(Fault::TextSum, left.position);
    }
}

void ExpressionChecks::assigning(const Operand &target, const Operand &value)
{
    if (value.sign == TokenKind::Assign) {
        const auto *comparison = as<NumberBoolExpression>(value.node.get());
        const auto *inner = comparison ? as<VarExpression>(comparison->left.get()) : nullptr;
        if (inner) {
            report(Fault::ChainedAssignment, value.position, { target.rootName });
        }
    }
    const int size = target.type.dimensions == 1 ? target.size() : 0;
    if (size <= 0 || target.type.code == DeviceType) {
        return;
    }
    const StringExpression *text = textNode(value);
    const auto *name = as<VarExpression>(value.node.get());
    const Array *list =
        name && HiddenLists::isHiddenName(name->name) ? asArray(m_work.constants.valueOf(name->name)) : nullptr;
    const int length = text && !text->list ? text->text.toUtf8().size() : list ? list->length() : 0;
    if (length > size) {
        report(Fault::TooLong, value.position,
               { text ? QStringLiteral("the text") : QStringLiteral("the list"), QString::number(length),
                 text ? QStringLiteral("bytes") : QStringLiteral("items"), QString::number(size) });
    }
}

void ExpressionChecks::element(const Operand &array, const Operand &index)
{
    const int size = array.size();
    if (size < 0) {
        return;
    }
    const std::optional<double> known = m_work.constants.number(index.node.get());
    const bool isBehind = known && size > 0 && integerPart(*known) > size;
    if (known && (isBehind || integerPart(*known) < 1)) {
        report(Fault::IndexRange, index.position,
               { QString::number(integerPart(*known)), array.rootName,
                 size > 0 ? QStringLiteral("1 to %1").arg(size) : QStringLiteral("from 1 on") });
    }
}

/// Escapes of other languages count at the end of a text only: in the middle they may be a path.
void ExpressionChecks::text(const Token &token)
{
    static const QRegularExpression kEscape(QStringLiteral("(\\\\[rn]|\\$0[AaDd])$"));
    const QRegularExpressionMatch found = token.text.size() > 2 ? kEscape.match(token.text) : QRegularExpressionMatch();
    if (found.hasMatch()) {
        const bool isReturn = found.captured().endsWith(QLatin1Char('r')) ||
                              found.captured().endsWith(QLatin1Char('D'), Qt::CaseInsensitive);
        report(Fault::EscapeInText, token.position,
               { found.captured(), isReturn ? QStringLiteral("$0D") : QStringLiteral("$0A") });
    }
}
