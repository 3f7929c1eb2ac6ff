#include "interp/Interpreter.h"

#include "base/Clock.h"
#include "interp/ProgramFunction.h"
#include "interp/Run.h"
#include "interp/code/FunctionCode.h"

#include <QCoreApplication>

namespace {
/// Functions and routines have the same parts but no common class with them.
template <class Callable>
void makeCode(Callable &callable, Interpreter &interpreter)
{
    Preparer preparer(interpreter);
    callable.code = std::make_unique<FunctionCode>(preparer, callable.arguments.get());
}

template <class Callable>
void prepareBodyOf(Callable &callable, Interpreter &interpreter)
{
    Preparer preparer(interpreter);
    callable.code->prepareBody(preparer, callable.body.get());
}
} // namespace

Interpreter::Interpreter(ProgramState &state)
    : m_state(state)
    , m_run(std::make_unique<Run>(*this))
    , m_waits(*this)
    , m_timelines(*this)
{}

Interpreter::~Interpreter() = default;

void Interpreter::setEvents(EventRaiser *events)
{
    m_events = events;
}

void Interpreter::prepareFunctions()
{
    for (const auto &function : program().functions()) {
        makeCode(static_cast<ProgramFunction &>(*function), *this);
    }
    for (const auto &routine : program().callRoutines()) {
        makeCode(static_cast<ProgramRoutine &>(*routine), *this);
    }
    for (const auto &function : program().functions()) {
        prepareBodyOf(static_cast<ProgramFunction &>(*function), *this);
    }
    for (const auto &routine : program().callRoutines()) {
        prepareBodyOf(static_cast<ProgramRoutine &>(*routine), *this);
    }
}

Body Interpreter::prepareBody(const Statement &statement, Name dataName)
{
    Preparer preparer(*this);
    if (!dataName.isEmpty()) {
        preparer.declare({ dataName, LocalVariable::Kind::Object, preparer.addSlot(), 0, nullptr, false });
    }
    Body body;
    body.step = preparer.statement(&statement);
    body.frameSize = preparer.frameSize();
    body.reach = preparer.takeReach();
    return body;
}

std::unique_ptr<Code> Interpreter::prepareExpression(const Expression &expression)
{
    Preparer preparer(*this);
    return expression.prepare(preparer, Context::Plain);
}

bool Interpreter::execute(const Body &body, BasicType *data)
{
    if (!body.step || m_state.stopRequested()) {
        return true;
    }
    Slot *const base = m_run->top;
    if (!m_run->hasRoom(body.frameSize)) {
        return false;
    }
    const FrameScope scope(*m_run, base, body.frameSize);
    if (data) {
        base->object = data;
    }
    runTimed(body);
    return true;
}

bool Interpreter::executeWithLocals(const Body &body, const WaitTable::Values &locals)
{
    if (!body.step || m_state.stopRequested()) {
        return true;
    }
    if (!m_run->hasRoom(body.frameSize)) {
        return false;
    }
    Slot *const base = m_run->top;
    const FrameScope scope(*m_run, base, body.frameSize);
    for (size_t index = 0; index < locals.size(); ++index) {
        if (body.numberSlots[index]) {
            const Double *number = asDouble(locals[index].get());
            base[index].number = number ? number->value() : 0;
        } else {
            base[index].object = locals[index].get();
        }
    }
    runTimed(body);
    return true;
}

void Interpreter::runTimed(const Body &body)
{
    const Step &step = *body.step;
    Trace &trace = m_state.trace();
    if (trace.isOn() && !body.globals) {
        body.globals = std::make_unique<TracedGlobals>(body.reach, m_state);
    }
    const TracedBody traced(trace, step.place(), body.globals.get());
    constexpr qint64 kLongMs = 200;
    const bool isOutermost = !m_run->scope->outer();
    if (isOutermost) {
        m_run->turn.fetch_add(1, std::memory_order_relaxed);
    }
    const qint64 begin = Clock::instance().monotonicMicros();
    step.perform(*m_run);
    const qint64 micros = Clock::instance().monotonicMicros() - begin;
    const qint64 took = micros / 1000;
    traced.took(micros);
    if (isOutermost && took > kLongMs) {
        m_run->place.store(step.place(), std::memory_order_relaxed);
        m_run->warning(QT_TRANSLATE_NOOP("messages", "Ran for %1 ms"), QString::number(took));
    }
}

void Interpreter::reportTooDeep(const QString &where)
{
    m_run->error(QT_TRANSLATE_NOOP("messages", "Call depth exceeded in %1"), where);
}

bool Interpreter::mayMoveLevels(Name name) const
{
    return m_state.program().isBound(name);
}

bool Interpreter::isNeverChanged(const BasicType &global) const
{
    if (m_state.isKeptCurrent(global)) {
        return false;
    }
    return global.isConst() ||
           !(m_state.program().isChanged(global.name()) || m_state.program().isBound(global.name()));
}
