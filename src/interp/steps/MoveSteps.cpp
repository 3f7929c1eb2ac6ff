#include "interp/Interpreter.h"
#include "interp/nodes/Statements.h"
#include "interp/steps/BlockSteps.h"
#include "interp/steps/PlainNumbers.h"

// ++ and -- as statements.

namespace {
/// A plain number moves by a constant: x++, x-- as statements.
template <class Fit, class Target>
class MoveNumber : public Step
{
public:
    MoveNumber(Fit fit, Target target, double by)
        : m_fit(fit)
        , m_target(target)
        , m_by(by)
    {}
    Flow execute(Run &run) const override
    {
        double &number = m_target.get(run);
        number = m_fit(number + m_by);
        return Flow::Next;
    }

private:
    [[no_unique_address]] Fit m_fit;
    Target m_target;
    double m_by;
};

/// ++ and -- of anything that is not a plain number.
class MoveStored : public Step
{
public:
    MoveStored(std::unique_ptr<Code> target, double by)
        : m_target(std::move(target))
        , m_by(by)
    {}
    Flow execute(Run &run) const override
    {
        const Place target = m_target->place(run);
        const ValueView before = ValueView::of(target);
        if (!before.isNumber()) {
            return Flow::Next;
        }
        if (target.object && target.object->isConst()) {
            run.error(kConstantStays);
            return Flow::Next;
        }
        assignValue(target, ValueView::ofNumber(before.number + m_by, DoubleType));
        storeChanged(run, *m_target);
        return Flow::Next;
    }

private:
    std::unique_ptr<Code> m_target;
    double m_by;
};

std::unique_ptr<Step> prepareMove(const StepStatement &node, Preparer &preparer, double by)
{
    if (!node.operand) {
        return makeNothingStep();
    }
    if (const auto *target = as<VarExpression>(node.operand.get())) {
        const VariableAccess variable = findVariable(preparer, target->name);
        if (isPlainNumber(variable, preparer)) {
            return withFit(variable.typeCode, [&](auto fit) {
                return withTarget(variable, [&](auto place) -> std::unique_ptr<Step> {
                    return std::make_unique<MoveNumber<decltype(fit), decltype(place)>>(fit, place, by);
                });
            });
        }
    }
    return std::make_unique<MoveStored>(preparer.expression(node.operand), by);
}
} // namespace

std::unique_ptr<Step> IncStatement::prepare(Preparer &preparer) const
{
    return prepareMove(*this, preparer, 1);
}

std::unique_ptr<Step> DecStatement::prepare(Preparer &preparer) const
{
    return prepareMove(*this, preparer, -1);
}
