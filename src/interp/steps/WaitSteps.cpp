#include "interp/Interpreter.h"
#include "interp/Preparer.h"
#include "interp/Run.h"
#include "interp/nodes/WaitStatements.h"
#include "interp/steps/BlockSteps.h"
#include "model/Values.h"
#include "program/AST.h"

#include <QCoreApplication>

namespace {
class WaitStep : public Step
{
public:
    struct Plan
    {
        QString name;
        std::vector<Name> captured;
        std::unique_ptr<Code> time;
        std::vector<LocalVariable> locals; // those that the body sees, in the order of its first slots
        Body body;
        bool hasBody = false;
    };
    explicit WaitStep(Plan plan)
        : m_plan(std::move(plan))
        , m_id(0, m_plan.name)
    {}

    Flow execute(Run &run) const override
    {
        WaitTable &waits = run.interpreter().waits();
        const bool isOneOfMany = run.loopFlag && !m_plan.captured.empty();
        if (isOneOfMany || (m_id.first == 0 && m_id.second.isEmpty())) {
            m_id = waits.newId();
        }
        if (!m_plan.time) {
            return Flow::Next;
        }
        const Number time = m_plan.time->number(run);
        if (!time.ok) {
            run.error(QT_TRANSLATE_NOOP("messages", "Wrong wait time expression"));
            return Flow::Next;
        }
        if (m_plan.hasBody && waits.isPending(m_id)) {
            run.state().trace().add(TraceRecord::of(TraceRecord::Kind::WaitRefused).with(m_id.second.toUtf8()));
        } else if (m_plan.hasBody) {
            waits.add(m_id, integerPart32(time.value), copyGlobals(run), copyLocals(run), m_plan.body);
        }
        return Flow::Next;
    }

private:
    WaitTable::Values copyGlobals(Run &run) const
    {
        WaitTable::Values copies;
        for (const Name name : m_plan.captured) {
            if (const BasicType *global = run.program().findGlobal(name)) {
                copies.push_back(global->clone());
                copies.back()->setStorageClass(Volatile);
            }
        }
        return copies;
    }

    WaitTable::Values copyLocals(Run &run) const
    {
        WaitTable::Values copies;
        for (const LocalVariable &local : m_plan.locals) {
            switch (local.kind) {
            case LocalVariable::Kind::Number:
                copies.push_back(std::make_unique<Double>(run.frame[local.slot].number, local.typeCode));
                break;
            case LocalVariable::Kind::Object: {
                const BasicType *object = run.frame[local.slot].object;
                copies.push_back(object ? object->clone() : nullptr);
                break;
            }
            case LocalVariable::Kind::KeptNumber:
            case LocalVariable::Kind::KeptObject:
                copies.push_back(local.kept->clone());
                break;
            }
        }
        return copies;
    }

    Plan m_plan;
    mutable WaitTable::Id m_id; // an unnamed wait keeps the number that its first execution took for it
};

class CancelWaitStep : public Step
{
public:
    explicit CancelWaitStep(const QString &name)
        : m_name(name)
    {}
    Flow execute(Run &run) const override
    {
        run.interpreter().waits().cancel(m_name);
        return Flow::Next;
    }

private:
    QString m_name;
};

class CancelAllWaitsStep : public Step
{
public:
    Flow execute(Run &run) const override
    {
        run.interpreter().waits().cancelAll();
        return Flow::Next;
    }
};
} // namespace

std::unique_ptr<Step> WaitStatement::prepare(Preparer &preparer) const
{
    WaitStep::Plan plan;
    plan.name = name;
    for (const QString &variable : captured) {
        plan.captured.emplace_back(variable);
    }
    plan.time = preparer.expression(time);
    plan.locals = preparer.visible();
    plan.hasBody = body != nullptr;
    // The body runs later in a frame of its own, whose first slots hold the copies.
    Preparer inner(preparer.interpreter());
    for (const LocalVariable &outer : plan.locals) {
        LocalVariable copy = outer;
        copy.slot = inner.addSlot();
        if (outer.kind == LocalVariable::Kind::KeptNumber) {
            copy.kind = LocalVariable::Kind::Number;
        } else if (outer.kind == LocalVariable::Kind::KeptObject) {
            const Array *array = asArray(outer.kept);
            copy.kind = LocalVariable::Kind::Object;
            copy.typeCode = array ? outer.typeCode : 0;
            copy.isMatrix = array && array->firstIsArray();
        }
        copy.kept = nullptr;
        inner.declare(copy);
    }
    plan.body.step = inner.statement(body);
    plan.body.frameSize = inner.frameSize();
    plan.body.reach = inner.takeReach();
    for (const LocalVariable &copy : inner.visible()) {
        plan.body.numberSlots.push_back(copy.kind == LocalVariable::Kind::Number);
    }
    return std::make_unique<WaitStep>(std::move(plan));
}

std::unique_ptr<Step> CancelWaitStatement::prepare(Preparer &) const
{
    return std::make_unique<CancelWaitStep>(name);
}

std::unique_ptr<Step> CancelAllWaitStatement::prepare(Preparer &) const
{
    return std::make_unique<CancelAllWaitsStep>();
}
