#include "compiler/Constants.h"

#include "interp/nodes/Expressions.h"
#include "program/AST.h"

namespace {
double shifted(double value, double count, bool toRight)
{
    const qint64 bits = integerPart(value);
    const auto places = static_cast<quint8>(integerPart(count));
    if (places >= 64) {
        return toRight && bits < 0 ? -1 : 0;
    }
    return static_cast<double>(toRight ? bits >> places : static_cast<qint64>(static_cast<quint64>(bits) << places));
}

std::optional<double> calculated(int operatorCode, double left, double right)
{
    const qint64 a = integerPart(left);
    const qint64 b = integerPart(right);
    switch (operatorCode) {
    case '+':
        return left + right;
    case '-':
        return left - right;
    case '*':
        return left * right;
    case '/':
        return isZeroNumber(right) ? std::nullopt : std::optional(left / right);
    case '%':
        return b == 0 ? std::nullopt : std::optional(b == -1 ? 0.0 : static_cast<double>(a % b));
    case '&':
        return static_cast<double>(a & b);
    case '|':
        return static_cast<double>(a | b);
    case '^':
        return static_cast<double>(a ^ b);
    default:
        return std::nullopt;
    }
}

bool compared(int operatorCode, double left, double right)
{
    const bool isLeft = !isZeroNumber(left);
    const bool isRight = !isZeroNumber(right);
    switch (operatorCode) {
    case NumberBoolExpression::LessEqual:
        return left < right || numbersEqual(left, right);
    case NumberBoolExpression::GreaterEqual:
        return left > right || numbersEqual(left, right);
    case NumberBoolExpression::Less:
        return left < right;
    case NumberBoolExpression::Greater:
        return left > right;
    case NumberBoolExpression::NotEqual:
        return !numbersEqual(left, right);
    case NumberBoolExpression::Equal:
        return numbersEqual(left, right);
    case NumberBoolExpression::And:
        return isLeft && isRight;
    case NumberBoolExpression::Or:
        return isLeft || isRight;
    case NumberBoolExpression::Xor:
        return isLeft != isRight;
    default:
        return false;
    }
}

Constant arrayConstant(const Array &array, const AST &program, SourcePosition position)
{
    Constant constant;
    constant.position = position;
    if (array.typeCode() == CharType && !array.firstIsArray()) {
        constant.kind = Constant::Kind::Text;
        constant.bytes = array.toBytes();
        return constant;
    }
    constant.kind = Constant::Kind::List;
    for (int index = 1; index <= array.length(); ++index) {
        const ValueView element = array.view(index);
        if (element.isNumber()) {
            constant.items.push_back(Constant::ofNumber(element.number, position));
        } else if (element.object) {
            constant.items.push_back(constantOf(*element.object, program, position));
        }
    }
    return constant;
}
} // namespace

std::optional<double> Constant::asNumber() const
{
    switch (kind) {
    case Kind::Number:
        return number;
    case Kind::Text:
        return bytes.isEmpty() ? std::nullopt : std::optional<double>(static_cast<quint8>(bytes.at(0)));
    case Kind::List:
        return items.empty() ? std::nullopt : items.front().asNumber();
    case Kind::Device:
        break;
    }
    return std::nullopt;
}

Constant constantOf(const BasicType &value, const AST &program, SourcePosition position)
{
    if (const Double *number = asDouble(&value)) {
        return Constant::ofNumber(number->value(), position);
    }
    if (const Array *array = asArray(&value)) {
        return arrayConstant(*array, program, position);
    }
    Constant constant;
    constant.position = position;
    if (const Device *device = asDevice(&value)) {
        constant.kind = Constant::Kind::Device;
        constant.device = device->address();
        return constant;
    }
    constant.kind = Constant::Kind::List;
    const StructType *structure = asStruct(&value);
    if (const CustomTypeInfo *info = structure ? program.findType(value.typeCode()) : nullptr) {
        for (const TypeDecl &member : info->members()) {
            if (const BasicType *content = structure->member(Name(member.name))) {
                constant.items.push_back(constantOf(*content, program, position));
            }
        }
    }
    return constant;
}

std::optional<Constant> ConstantEvaluator::evaluate(const Expression *node, SourcePosition position) const
{
    if (const auto *text = as<StringExpression>(node)) {
        return evaluateText(*text, position);
    }
    if (const auto *device = as<DeviceExpr>(node)) {
        return evaluateDevice(*device, position);
    }
    if (const BasicType *value = stored(node)) {
        return constantOf(*value, m_program, position);
    }
    const std::optional<double> value = number(node);
    return value ? std::optional(Constant::ofNumber(*value, position)) : std::nullopt;
}

const BasicType *ConstantEvaluator::stored(const Expression *node) const
{
    if (const auto *variable = as<VarExpression>(node)) {
        return m_lookup(variable->name);
    }
    if (const auto *element = as<ArrayExpression>(node)) {
        const Array *array = asArray(stored(element->base.get()));
        const std::optional<double> index = number(element->index.get());
        return array && index ? array->object(integerPart32(*index)) : nullptr; // packed elements: see number()
    }
    if (const auto *member = as<StructExpression>(node)) {
        const StructType *structure = asStruct(stored(member->base.get()));
        return structure ? structure->member(Name(member->memberName)) : nullptr;
    }
    return nullptr;
}

std::optional<double> ConstantEvaluator::number(const Expression *node) const
{
    if (!node) {
        return std::nullopt;
    }
    if (const auto *text = as<StringExpression>(node); text && !text->list) {
        const QByteArray bytes = text->text.toUtf8();
        return bytes.isEmpty() ? 0.0 : static_cast<double>(static_cast<signed char>(bytes.at(0)));
    }
    double value = 0;
    if (const auto *element = as<ArrayExpression>(node)) {
        const Array *array = asArray(stored(element->base.get()));
        const std::optional<double> index = number(element->index.get());
        if (array && index && numberOf(array->view(integerPart32(*index)), value)) {
            return value;
        }
        return std::nullopt;
    }
    if (const BasicType *found = stored(node)) {
        return numberOf(ValueView::of(found), value) ? std::optional(value) : std::nullopt;
    }
    return evaluateNumber(*node);
}

std::optional<double> ConstantEvaluator::evaluateNumber(const Expression &node) const
{
    if (const auto *constant = as<ConstExpression>(&node)) {
        return constant->value;
    }
    if (const auto *minus = as<UMinusExpression>(&node)) {
        const std::optional<double> value = number(minus->operand.get());
        return value ? std::optional(-*value) : std::nullopt;
    }
    if (const auto *inverse = as<BNotExpression>(&node)) {
        const std::optional<double> value = number(inverse->operand.get());
        return value ? std::optional(static_cast<double>(~integerPart(*value))) : std::nullopt;
    }
    if (const auto *negation = as<NotExpression>(&node)) {
        const std::optional<double> value = number(negation->operand.get());
        return value ? std::optional(integerPart(*value) == 0 ? 1.0 : 0.0) : std::nullopt;
    }
    if (const auto *shift = as<ShiftExpression>(&node)) {
        const std::optional<double> value = number(shift->value.get());
        const std::optional<double> count = number(shift->count.get());
        return value && count ? std::optional(shifted(*value, *count, shift->direction == ShiftExpression::Right))
                              : std::nullopt;
    }
    if (const auto *calc = as<CalcExpression>(&node)) {
        const std::optional<double> left = number(calc->left.get());
        const std::optional<double> right = number(calc->right.get());
        return left && right ? calculated(calc->operatorCode, *left, *right) : std::nullopt;
    }
    if (const auto *comparison = as<NumberBoolExpression>(&node)) {
        return evaluateComparison(*comparison);
    }
    return std::nullopt;
}

std::optional<double> ConstantEvaluator::evaluateComparison(const NumberBoolExpression &node) const
{
    const std::optional<Constant> left = evaluate(node.left.get(), {});
    const std::optional<Constant> right = evaluate(node.right.get(), {});
    if (!left || !right) {
        return std::nullopt;
    }
    if (left->isText() && right->isText() && node.operatorCode <= NumberBoolExpression::Equal) {
        const int order = qstrcmp(left->bytes, right->bytes);
        return compared(node.operatorCode, order, 0) ? 1.0 : 0.0;
    }
    const std::optional<double> a = left->asNumber();
    const std::optional<double> b = right->asNumber();
    return a && b ? std::optional(compared(node.operatorCode, *a, *b) ? 1.0 : 0.0) : std::nullopt;
}

std::optional<Constant> ConstantEvaluator::evaluateDevice(const DeviceExpr &node, SourcePosition position) const
{
    Constant constant;
    constant.kind = Constant::Kind::Device;
    constant.position = position;
    if (node.device) {
        constant.device = node.device->address();
        return constant;
    }
    if (!node.parts || node.parts->items.size() != 3) {
        return std::nullopt;
    }
    int *const parts[] = { &constant.device.number, &constant.device.port, &constant.device.system };
    for (size_t i = 0; i < 3; ++i) {
        const std::optional<double> part = number(node.parts->items[i].get());
        if (!part) {
            return std::nullopt;
        }
        *parts[i] = integerPart32(*part);
    }
    return constant;
}

std::optional<Constant> ConstantEvaluator::evaluateText(const StringExpression &node, SourcePosition position) const
{
    Constant constant;
    constant.kind = Constant::Kind::Text;
    constant.position = position;
    if (!node.list) {
        constant.bytes = node.text.toUtf8();
        return constant;
    }
    for (const auto &item : node.list->items) {
        const std::optional<Constant> part = evaluate(item.get(), position);
        std::vector<double> numbers;
        if (!part || !flatten(*part, numbers)) {
            return std::nullopt;
        }
        for (const double number : numbers) {
            constant.bytes += static_cast<char>(integerPart(number));
        }
    }
    return constant;
}

bool flatten(const Constant &constant, std::vector<double> &numbers)
{
    switch (constant.kind) {
    case Constant::Kind::Number:
        numbers.push_back(constant.number);
        return true;
    case Constant::Kind::Text:
        for (const char byte : constant.bytes) {
            numbers.push_back(static_cast<quint8>(byte));
        }
        return true;
    case Constant::Kind::List:
        for (const Constant &item : constant.items) {
            if (!flatten(item, numbers)) {
                return false;
            }
        }
        return true;
    case Constant::Kind::Device:
        break;
    }
    return false;
}
