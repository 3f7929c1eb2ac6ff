#include "interp/Preparer.h"
#include "interp/code/CallCode.h"
#include "interp/code/Operands.h"
#include "interp/nodes/Statements.h"
#include "interp/steps/BlockSteps.h"
#include "model/Values.h"

#include <QCoreApplication>

#include <cstring>

// Lists, branches and loops.

namespace {
class NothingStep : public Step
{
public:
    Flow execute(Run &) const override { return Flow::Next; }
};

template <Flow Result>
class TransferStep : public Step
{
public:
    Flow execute(Run &) const override { return Result; }
};

class ListStep : public Step
{
public:
    explicit ListStep(std::vector<std::unique_ptr<Step>> steps)
        : m_steps(std::move(steps))
    {}

    Flow execute(Run &run) const override
    {
        for (const auto &step : m_steps) {
            if (const Flow flow = step->perform(run); flow != Flow::Next) {
                return flow;
            }
        }
        return Flow::Next;
    }

private:
    std::vector<std::unique_ptr<Step>> m_steps;
};

class IfStep : public Step
{
public:
    IfStep(std::unique_ptr<Code> condition, std::unique_ptr<Step> thenStep, std::unique_ptr<Step> elseStep)
        : m_condition(std::move(condition))
        , m_then(std::move(thenStep))
        , m_else(std::move(elseStep))
    {}

    Flow execute(Run &run) const override
    {
        switch (m_condition->test(run)) {
        case Truth::Yes:
            return m_then ? m_then->perform(run) : Flow::Next;
        case Truth::No:
            return m_else ? m_else->perform(run) : Flow::Next;
        case Truth::Failed:
            break;
        }
        run.error(QT_TRANSLATE_NOOP("messages", "Wrong if condition"));
        return Flow::Next;
    }

private:
    std::unique_ptr<Code> m_condition;
    std::unique_ptr<Step> m_then;
    std::unique_ptr<Step> m_else;
};

/// WHILE and FOR, which is a WHILE with an initialisation and a step list. A step list that BREAKs ends the loop.
class LoopStep : public Step
{
public:
    LoopStep(std::unique_ptr<Step> initialisation, std::unique_ptr<Code> condition, std::unique_ptr<Step> body,
             std::unique_ptr<Step> step, const char *message)
        : m_initialisation(std::move(initialisation))
        , m_condition(std::move(condition))
        , m_body(std::move(body))
        , m_step(std::move(step))
        , m_message(message)
    {}

    Flow execute(Run &run) const override
    {
        run.loopFlag = true;
        const Flow flow = loop(run);
        run.loopFlag = false; // a single flag: an enclosing loop loses it too
        return flow;
    }

private:
    Flow loop(Run &run) const
    {
        if (m_initialisation) {
            if (const Flow flow = m_initialisation->perform(run); flow != Flow::Next) {
                return flow == Flow::Return ? flow : Flow::Next;
            }
        }
        while (m_condition && !run.stopRequested()) {
            run.place.store(place(), std::memory_order_relaxed); // the body ran meanwhile
            const Truth truth = m_condition->test(run);
            if (truth == Truth::No) {
                break;
            }
            if (truth == Truth::Failed) {
                run.error(m_message);
                break;
            }
            const Flow flow = m_body ? m_body->perform(run) : Flow::Next;
            if (flow == Flow::Return) {
                return flow;
            }
            if (flow == Flow::Break) {
                break;
            }
            const Flow stepFlow = m_step ? m_step->perform(run) : Flow::Next;
            if (stepFlow == Flow::Return) {
                return stepFlow;
            }
            if (stepFlow == Flow::Break) {
                break;
            }
        }
        return Flow::Next;
    }

    std::unique_ptr<Step> m_initialisation;
    std::unique_ptr<Code> m_condition;
    std::unique_ptr<Step> m_body;
    std::unique_ptr<Step> m_step;
    const char *m_message;
};

/// SELECT: the first branch whose condition holds.
class SelectStep : public Step
{
public:
    struct Branch
    {
        std::unique_ptr<Code> condition;
        std::unique_ptr<Step> body;
    };
    explicit SelectStep(std::vector<Branch> branches)
        : m_branches(std::move(branches))
    {}

    Flow execute(Run &run) const override
    {
        for (const Branch &branch : m_branches) {
            const Truth truth = branch.condition->test(run);
            if (truth == Truth::Failed) {
                run.error(QT_TRANSLATE_NOOP("messages", "Wrong active condition"));
                return Flow::Next;
            }
            if (truth == Truth::Yes) {
                return branch.body ? branch.body->perform(run) : Flow::Next;
            }
        }
        return Flow::Next;
    }

private:
    std::vector<Branch> m_branches;
};

class SwitchStep : public Step
{
public:
    struct Case
    {
        int kind;
        QByteArray text;    // of the label, UTF-8
        int character = -1; // of a label of one character: its code
        double number = 0;
        std::unique_ptr<Step> body;
    };
    SwitchStep(std::unique_ptr<Code> value, std::vector<Case> cases)
        : m_value(std::move(value))
        , m_cases(std::move(cases))
    {
        indexWholeNumbers();
    }

    Flow execute(Run &run) const override
    {
        ValueRef hold;
        const ValueView value = m_value->view(run, hold);
        if (value.isNone()) {
            return Flow::Next;
        }
        const Case *chosen = value.isNumber() ? findNumber(value.number)
                             : value.array()  ? findText(*value.array())
                                              : nullptr;
        if (!chosen) {
            chosen = m_default;
        }
        const Flow flow = chosen && chosen->body ? chosen->body->perform(run) : Flow::Next;
        return flow == Flow::Break ? Flow::Next : flow; // CONTINUE and RETURN reach the loop and the function
    }

private:
    static constexpr int kMostIndexed = 1024;

    /// Whole labels below kMostIndexed are found by a look into a table; the first of equal labels counts.
    void indexWholeNumbers()
    {
        for (const Case &item : m_cases) {
            if (item.kind == SwitchStatement::DefaultCase && !m_default) {
                m_default = &item;
            }
            const double label = item.kind == SwitchStatement::NumberCase ? item.number : item.character;
            const bool isWhole = label >= 0 && label < kMostIndexed && static_cast<int>(label) == label;
            if (item.kind == SwitchStatement::DefaultCase || label < 0) {
                m_allIndexed = m_allIndexed && item.kind != SwitchStatement::NumberCase;
                continue;
            }
            m_allIndexed = m_allIndexed && isWhole;
            if (isWhole) {
                const auto at = static_cast<size_t>(label);
                m_index.resize(std::max(m_index.size(), at + 1), nullptr);
                if (!m_index[at]) {
                    m_index[at] = &item;
                }
            }
        }
    }

    const Case *findNumber(double number) const
    {
        if (m_allIndexed && number >= 0 && number < kMostIndexed && static_cast<int>(number) == number) {
            const auto at = static_cast<size_t>(number);
            return at < m_index.size() ? m_index[at] : nullptr;
        }
        for (const Case &item : m_cases) {
            const bool matches =
                (item.kind == SwitchStatement::NumberCase && numbersEqual(number, item.number)) ||
                (item.kind == SwitchStatement::TextCase && item.character >= 0 && numbersEqual(number, item.character));
            if (matches) {
                return &item;
            }
        }
        return nullptr;
    }

    const Case *findText(const Array &array) const
    {
        QByteArray hold;
        const std::string_view text = array.bytes(hold);
        for (const Case &item : m_cases) {
            const std::string_view label(item.text.constData(), static_cast<size_t>(item.text.size()));
            const bool matches = (item.kind == SwitchStatement::TextCase && text == label) ||
                                 (item.kind == SwitchStatement::NumberCase && text.size() == 1 &&
                                  text.front() == static_cast<char>(integerPart(item.number)));
            if (matches) {
                return &item;
            }
        }
        return nullptr;
    }

    std::unique_ptr<Code> m_value;
    std::vector<Case> m_cases;
    const Case *m_default = nullptr;
    std::vector<const Case *> m_index;
    bool m_allIndexed = true;
};

/// RETURN of a plain number.
template <class Operand>
class ReturnNumber : public Step
{
public:
    ReturnNumber(Operand operand, int typeCode)
        : m_operand(std::move(operand))
        , m_typeCode(typeCode)
    {}

    Flow execute(Run &run) const override
    {
        const double number = m_operand.get(run).value; // before the result: what it calls leaves a result too
        ValueView &seen = run.result.seen;
        seen.kind = ValueView::Kind::Number;
        seen.typeCode = m_typeCode;
        seen.number = number;
        seen.object = nullptr;
        return Flow::Return;
    }

private:
    Operand m_operand;
    int m_typeCode;
};

/// RETURN of anything, or of nothing.
class ReturnStep : public Step
{
public:
    explicit ReturnStep(std::unique_ptr<Code> value)
        : m_value(std::move(value))
    {}

    Flow execute(Run &run) const override
    {
        if (!m_value) {
            run.result = {};
            return Flow::Return;
        }
        ValueRef hold;
        const ValueView seen = m_value->view(run, hold);
        if (!seen.object) {
            run.result.seen = seen;
            return Flow::Return;
        }
        run.result.object = freshValue(seen, hold);
        run.result.seen = ValueView::of(run.result.object.get());
        return Flow::Return;
    }

private:
    std::unique_ptr<Code> m_value;
};

std::unique_ptr<Step> prepareBranch(const std::unique_ptr<StatementList> &list, Preparer &preparer)
{
    return list ? list->prepare(preparer) : nullptr;
}

SwitchStep::Case prepareCase(const SwitchStatement::CaseItem &item, Preparer &preparer)
{
    SwitchStep::Case prepared{ item.kind, item.text.toUtf8(), -1, item.number, prepareBranch(item.body, preparer) };
    if (item.kind == SwitchStatement::TextCase) {
        const QVector<uint> characters = item.text.toUcs4();
        prepared.character = characters.size() == 1 ? static_cast<int>(characters[0]) : -1;
    }
    return prepared;
}
} // namespace

std::unique_ptr<Step> makeNothingStep()
{
    return std::make_unique<NothingStep>();
}

std::unique_ptr<Step> makeListStep(std::vector<std::unique_ptr<Step>> steps)
{
    if (steps.size() == 1) {
        return std::move(steps.front());
    }
    return std::make_unique<ListStep>(std::move(steps));
}

std::unique_ptr<Step> StatementList::prepare(Preparer &preparer) const
{
    return prepareBlock(*this, preparer);
}

std::unique_ptr<Step> CompoundStatement::prepare(Preparer &preparer) const
{
    return body ? prepareBlock(*body, preparer) : makeNothingStep();
}

std::unique_ptr<Step> IfStatement::prepare(Preparer &preparer) const
{
    if (!condition) {
        return makeNothingStep();
    }
    std::unique_ptr<Code> conditionCode = preparer.expression(condition, Context::Condition);
    std::unique_ptr<Step> thenStep = preparer.statement(thenBranch);
    return std::make_unique<IfStep>(std::move(conditionCode), std::move(thenStep), preparer.statement(elseBranch));
}

std::unique_ptr<Step> WhileStatement::prepare(Preparer &preparer) const
{
    return std::make_unique<LoopStep>(nullptr, preparer.expression(condition, Context::Condition),
                                      preparer.statement(body), nullptr,
                                      QT_TRANSLATE_NOOP("messages", "Wrong while condition"));
}

std::unique_ptr<Step> ForStatement::prepare(Preparer &preparer) const
{
    return std::make_unique<LoopStep>(
        prepareBranch(initialisation, preparer), preparer.expression(condition, Context::Condition),
        preparer.statement(body), prepareBranch(step, preparer), QT_TRANSLATE_NOOP("messages", "Wrong for condition"));
}

std::unique_ptr<Step> SwitchStatement::prepare(Preparer &preparer) const
{
    if (cases.empty() || !value) {
        return makeNothingStep();
    }
    std::vector<SwitchStep::Case> prepared;
    for (const CaseItem &item : cases) {
        prepared.push_back(prepareCase(item, preparer));
    }
    return std::make_unique<SwitchStep>(preparer.expression(value), std::move(prepared));
}

std::unique_ptr<Step> SelectStatement::prepare(Preparer &preparer) const
{
    std::vector<SelectStep::Branch> prepared;
    for (const ActiveItem &item : branches) {
        if (item.condition) {
            std::unique_ptr<Code> condition = preparer.expression(item.condition, Context::Condition);
            prepared.push_back({ std::move(condition), preparer.statement(item.body) });
        }
    }
    return std::make_unique<SelectStep>(std::move(prepared));
}

std::unique_ptr<Step> BreakStatement::prepare(Preparer &) const
{
    return std::make_unique<TransferStep<Flow::Break>>();
}

std::unique_ptr<Step> ContinueStatement::prepare(Preparer &) const
{
    return std::make_unique<TransferStep<Flow::Continue>>();
}

std::unique_ptr<Step> ReturnStatement::prepare(Preparer &preparer) const
{
    std::unique_ptr<Code> code = preparer.expression(value);
    if (!code || (code->leaf().kind == Leaf::Kind::None && !code->asNumberCode())) {
        return std::make_unique<ReturnStep>(std::move(code));
    }
    const int typeCode = code->leaf().typeCode;
    return withOperand(std::move(code), [typeCode](auto operand) -> std::unique_ptr<Step> {
        return std::make_unique<ReturnNumber<decltype(operand)>>(std::move(operand), typeCode);
    });
}

std::unique_ptr<Step> FuncCallStatement::prepare(Preparer &preparer) const
{
    std::unique_ptr<Step> step = call ? makeFunctionStep(*call, preparer) : nullptr;
    return step ? std::move(step) : makeNothingStep();
}

std::unique_ptr<Step> CallRoutineStatement::prepare(Preparer &preparer) const
{
    std::unique_ptr<Step> step = call ? makeRoutineStep(*call, preparer) : nullptr;
    return step ? std::move(step) : makeNothingStep();
}
