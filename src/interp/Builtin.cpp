#include "interp/Builtin.h"

#include "interp/code/FunctionCode.h"
#include "model/Values.h"

std::string_view Argument::bytes()
{
    return bytesOf(view, m_bytes);
}

Number ArgumentList::tryNumber(int index) const
{
    const Code *argument = code(index);
    return argument ? argument->number(m_run) : Number{};
}

int ArgumentList::integer(int index) const
{
    return integerPart32(number(index));
}

qint64 ArgumentList::integer64(int index) const
{
    return integerPart(number(index));
}

Argument ArgumentList::borrow(int index) const
{
    Argument argument;
    if (const Code *expression = code(index)) {
        argument.view = expression->view(m_run, argument.m_hold);
    }
    return argument;
}

Argument ArgumentList::value(int index) const
{
    Argument argument = borrow(index);
    if (argument.isStored() && mayRunProgramAfter(index)) { // which may change the variable
        argument.m_hold = argument.view.toValue();
        argument.view = ValueView::of(argument.m_hold.get());
    }
    return argument;
}

bool ArgumentList::mayRunProgramAfter(int index) const
{
    for (int later = index + 1; later < count(); ++later) {
        if (has(later) && !code(later)->isQuiet()) {
            return true;
        }
    }
    return false;
}

Place ArgumentList::place(int index) const
{
    const Code *argument = code(index);
    return argument ? argument->place(m_run) : Place{};
}

void ArgumentList::storeChanged(int index) const
{
    if (const Code *argument = code(index)) {
        ::storeChanged(m_run, *argument);
    }
}

void BuiltinFunction::setResult(double number, int typeCode)
{
    const std::optional<ReturnType> &type = returnType();
    const int code = type && isNumericType(type->typeCode) && type->sizes.empty() ? type->typeCode : typeCode;
    m_result = { ValueView::ofNumber(normalised(code, number), code), {} };
}

void BuiltinFunction::setResult(std::unique_ptr<BasicType> value)
{
    ReturnValue result;
    result.object = ValueRef(std::move(value));
    result.seen = ValueView::of(result.object.get());
    m_result = std::move(result);
}

void BuiltinFunction::setTextResult(std::string_view bytes)
{
    // The text of the last call serves again when nobody else holds it: building texts piece by piece allocates
    // nothing.
    Array *last = m_result.object.use_count() == 1 ? asArray(m_result.object.get()) : nullptr;
    if (!last || !last->isPackedBytes()) {
        m_result.object = std::make_shared<Array>(bytes);
    } else {
        last->setMaxLength(0);
        last->clearElements();
        last->assignBytes(bytes);
        last->setMaxLength(static_cast<int>(bytes.size()));
    }
    m_result.seen = ValueView::of(m_result.object.get());
}

ReturnValue converted(ReturnValue value, const std::optional<ReturnType> &type, ProgramContext *program)
{
    if (!type || value.seen.isNone() || value.seen.typeCode == type->typeCode) {
        return value;
    }
    std::unique_ptr<BasicType> made = type->sizes.empty() ? makeValue(type->typeCode, program)
                                                          : makeArray(Name(), type->typeCode, type->sizes, program);
    if (!made) {
        return {};
    }
    assignValue(*made, value.seen);
    ReturnValue result;
    result.object = ValueRef(std::move(made));
    result.seen = ValueView::of(result.object.get());
    return result;
}
