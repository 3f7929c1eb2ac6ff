#include "interp/Interpreter.h"
#include "interp/Preparer.h"
#include "interp/ProgramState.h"
#include "interp/code/Operands.h"
#include "interp/code/PathCode.h"
#include "interp/code/Places.h"
#include "interp/code/TextCode.h"
#include "interp/nodes/Statements.h"
#include "interp/steps/BlockSteps.h"
#include "interp/steps/ChannelSteps.h"
#include "interp/steps/PlainNumbers.h"
#include "model/Values.h"

#include <QCoreApplication>

// Assignments.

namespace {
/// A plain number takes the number of an expression that cannot be an array.
template <class Fit, class Target, class Source>
class AssignNumber : public Step
{
public:
    AssignNumber(Fit fit, Target target, Source source)
        : m_fit(fit)
        , m_target(target)
        , m_source(std::move(source))
    {}
    Flow execute(Run &run) const override
    {
        if (const Number number = m_source.get(run); number.ok) {
            m_target.get(run) = m_fit(number.value);
        }
        return Flow::Next;
    }

private:
    [[no_unique_address]] Fit m_fit;
    Target m_target;
    Source m_source;
};

/// Any variable.
class AssignVariable : public Step
{
public:
    AssignVariable(std::unique_ptr<Code> target, std::unique_ptr<Code> source)
        : m_target(std::move(target))
        , m_source(std::move(source))
    {}
    Flow execute(Run &run) const override
    {
        const Place target = m_target->place(run);
        if (!target) {
            return Flow::Next;
        }
        if (target.object && target.object->isConst()) {
            run.error(kConstantStays);
            return Flow::Next;
        }
        ValueRef hold;
        assignValue(target, m_source->view(run, hold));
        storeChanged(run, *m_target);
        return Flow::Next;
    }

private:
    std::unique_ptr<Code> m_target;
    std::unique_ptr<Code> m_source;
};

/// A text variable takes a text: its bytes are written in place. One that begins with the variable itself is appended
/// to.
template <class Object>
class AssignText : public Step
{
public:
    AssignText(Object target, std::unique_ptr<TextCode> source, bool isAppend)
        : m_target(std::move(target))
        , m_source(std::move(source))
        , m_isAppend(isAppend)
    {}
    Flow execute(Run &run) const override
    {
        Array *array = asArray(m_target.get(run));
        if (!array) {
            return Flow::Next;
        }
        if (array->isConst()) {
            run.error(kConstantStays);
            return Flow::Next;
        }
        ScratchBytes scratch(run);
        QByteArray &bytes = scratch.bytes;
        if (m_isAppend && array->isPackedBytes()) {
            m_source->appendItemsTo(bytes, run, 1);
            array->appendBytes({ bytes.constData(), static_cast<size_t>(bytes.size()) });
        } else {
            m_source->appendTo(bytes, run);
            const std::unique_ptr<Array> text =
                Array::ofBytes({ bytes.constData(), static_cast<size_t>(bytes.size()) });
            assignValue(*array, *text);
        }
        run.state().storage().saveVariable(*array);
        return Flow::Next;
    }

private:
    Object m_target;
    std::unique_ptr<TextCode> m_source;
    bool m_isAppend;
};

/// An element of an array of numbers takes the number of an expression that cannot be an array.
template <class Base, class Index, class Source>
class AssignNumberElement : public Step
{
public:
    AssignNumberElement(Base base, Index index, Source source)
        : m_base(std::move(base))
        , m_index(std::move(index))
        , m_source(std::move(source))
    {}
    Flow execute(Run &run) const override
    {
        auto *array = static_cast<Array *>(m_base.get(run));
        const Number index = m_index.get(run);
        if (!array || !index.ok) {
            return Flow::Next;
        }
        const int at = elementIndex(index.value);
        if constexpr (requires { m_source.code; }) {
            if (double before = 0; !array->packedNumber(at, before)) {
                array->place(at); // a missing element is made before the value is computed, which may look at the array
            }
        }
        const Number value = m_source.get(run);
        if (value.ok && !array->setPackedNumber(at, value.value)) {
            assignValue(array->place(at), ValueView::ofNumber(value.value, DoubleType));
        }
        if (array->storageClass() != Volatile) {
            run.state().storage().saveVariable(*array);
        }
        return Flow::Next;
    }

private:
    Base m_base;
    Index m_index;
    Source m_source;
};

/// Any element or member.
class AssignPart : public Step
{
public:
    AssignPart(std::unique_ptr<PathCode> target, std::unique_ptr<Code> source)
        : m_target(std::move(target))
        , m_source(std::move(source))
        , m_isQuiet(m_source->isQuiet())
    {}
    Flow execute(Run &run) const override
    {
        PathCode::Indexes indexes;
        if (!m_target->evaluate(run, indexes)) {
            return Flow::Next;
        }
        Place target = m_target->walk(run, indexes); // makes an element that is missing
        if (m_target->endsWithMember()) {
            if (!target) {
                return Flow::Next;
            }
            if (target.object->isConst()) {
                run.error(kConstantStays);
                return Flow::Next;
            }
        }
        ValueRef hold;
        const ValueView value = m_source->view(run, hold);
        if (!m_isQuiet) { // what ran may have rearranged the variable
            target = m_target->walk(run, indexes);
        }
        assignValue(target, value);
        storeChanged(run, *m_target);
        return Flow::Next;
    }

private:
    std::unique_ptr<PathCode> m_target;
    std::unique_ptr<Code> m_source;
    bool m_isQuiet;
};

/// A member takes the number of an expression that runs no code of the program.
class AssignNumberMember : public Step
{
public:
    AssignNumberMember(std::unique_ptr<Code> target, std::unique_ptr<Code> source)
        : m_target(std::move(target))
        , m_source(std::move(source))
    {}
    Flow execute(Run &run) const override
    {
        BasicType *target = m_target->object(run);
        if (!target) {
            return Flow::Next;
        }
        if (target->isConst()) {
            run.error(kConstantStays);
            return Flow::Next;
        }
        const Number value = m_source->number(run);
        if (Double *number = asDouble(target); number && value.ok) {
            number->setValue(value.value);
        } else if (value.ok) {
            assignValue(*target, ValueView::ofNumber(value.value, DoubleType));
        }
        return Flow::Next;
    }

private:
    std::unique_ptr<Code> m_target;
    std::unique_ptr<Code> m_source;
};

std::unique_ptr<Step> assignPlainNumber(const VariableAccess &variable, std::unique_ptr<Code> source)
{
    return withFit(variable.typeCode, [&](auto fit) {
        return withTarget(variable, [&](auto target) {
            return withOperand(std::move(source), [&](auto operand) -> std::unique_ptr<Step> {
                using Assign = AssignNumber<decltype(fit), decltype(target), decltype(operand)>;
                return std::make_unique<Assign>(fit, target, std::move(operand));
            });
        });
    });
}

/// Whether a text begins with the variable itself and the rest cannot change it, so that it can be appended to.
bool isAppend(const StringExpression &text, Name target, const TextCode &code)
{
    const auto *first =
        text.list && !text.list->items.empty() ? as<VarExpression>(text.list->items.front().get()) : nullptr;
    return first && Name(first->name) == target && code.isQuiet();
}

std::unique_ptr<Step> assignVariable(const VarExpression &target, const Expression &value, std::unique_ptr<Code> source,
                                     Preparer &preparer)
{
    const VariableAccess variable = findVariable(preparer, target.name);
    if (variable.kind == VariableAccess::Kind::Unknown) {
        return makeNothingStep();
    }
    if (source->isNeverArray() && isPlainNumber(variable, preparer)) {
        return assignPlainNumber(variable, std::move(source));
    }
    const auto *text = as<StringExpression>(&value);
    const bool isStatic = variable.kind == VariableAccess::Kind::StaticObject && asArray(variable.object);
    const bool isLocal = variable.kind == VariableAccess::Kind::LocalObject && variable.typeCode != 0;
    if (text && !variable.isMatrix && (isStatic || isLocal)) {
        std::unique_ptr<TextCode> code(static_cast<TextCode *>(source.release())); // what a StringExpression becomes
        const bool append = isAppend(*text, Name(target.name), *code);
        if (isStatic) {
            return std::make_unique<AssignText<StaticObject>>(StaticObject{ variable.object }, std::move(code), append);
        }
        return std::make_unique<AssignText<LocalObject>>(LocalObject{ variable.slot }, std::move(code), append);
    }
    return std::make_unique<AssignVariable>(target.prepare(preparer, Context::Plain), std::move(source));
}

template <class Base>
std::unique_ptr<Step> assignNumberElement(Base base, std::unique_ptr<Code> index, std::unique_ptr<Code> source)
{
    return withOperand(std::move(index), [&](auto indexOperand) {
        return withOperand(std::move(source), [&](auto sourceOperand) -> std::unique_ptr<Step> {
            return std::make_unique<AssignNumberElement<Base, decltype(indexOperand), decltype(sourceOperand)>>(
                std::move(base), std::move(indexOperand), std::move(sourceOperand));
        });
    });
}

std::unique_ptr<Step> assignElement(const ArrayExpression &target, std::unique_ptr<Code> source, Preparer &preparer)
{
    const std::optional<VariableAccess> array = findNumberArray(preparer, target.base.get());
    if (array && target.index && source->isNeverArray()) {
        std::unique_ptr<Code> index = preparer.expression(target.index);
        return array->kind == VariableAccess::Kind::StaticObject
                   ? assignNumberElement(StaticObject{ array->object }, std::move(index), std::move(source))
                   : assignNumberElement(LocalObject{ array->slot }, std::move(index), std::move(source));
    }
    return std::make_unique<AssignPart>(std::make_unique<PathCode>(preparer, target), std::move(source));
}
} // namespace

std::unique_ptr<Step> AssignStatement::prepare(Preparer &preparer) const
{
    if (!target || !value) {
        return makeNothingStep();
    }
    std::unique_ptr<Code> source = preparer.expression(value, Context::Condition);
    if (const auto *variable = as<VarExpression>(target.get())) {
        return assignVariable(*variable, *value, std::move(source), preparer);
    }
    if (const auto *element = as<ArrayExpression>(target.get())) {
        return assignElement(*element, std::move(source), preparer);
    }
    if (const auto *channels = as<ButtonExpression>(target.get())) {
        return makeChannelAssignment(*channels, std::move(source), preparer);
    }
    if (as<StructExpression>(target.get())) {
        auto path = std::make_unique<PathCode>(preparer, *target);
        if (source->asNumberCode() && source->isQuiet()) {
            return std::make_unique<AssignNumberMember>(PathCode::simplified(std::move(path)), std::move(source));
        }
        return std::make_unique<AssignPart>(std::move(path), std::move(source));
    }
    return makeNothingStep();
}
