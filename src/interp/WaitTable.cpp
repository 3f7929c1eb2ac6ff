#include "interp/WaitTable.h"

#include "base/Clock.h"
#include "interp/Interpreter.h"
#include "interp/Run.h"
#include "model/Values.h"

#include <algorithm>

namespace {
/// Exchanges what two values of the same kind hold, so that pointers to the variable stay good.
void swapContent(BasicType &variable, BasicType &copy)
{
    if (Double *number = asDouble(&variable); number && copy.isNumber()) {
        std::swap(*number->storage(), *static_cast<Double &>(copy).storage());
    } else if (Array *array = asArray(&variable); array && copy.isArray()) {
        array->swapContent(static_cast<Array &>(copy));
    } else if (const StructType *structure = asStruct(&variable); structure && copy.isStruct()) {
        for (const StructType::Member &member : structure->members()) {
            if (BasicType *other = static_cast<StructType &>(copy).member(member.name)) {
                swapContent(*member.value, *other);
            }
        }
    }
}
} // namespace

WaitTable::WaitTable(Interpreter &interpreter)
    : m_interpreter(interpreter)
    , m_tickTicket(Clock::instance().every(100, [this] { tick(); }))
{}

WaitTable::~WaitTable()
{
    Clock::instance().cancel(m_tickTicket);
}

void WaitTable::add(const Id &id, int tenths, Values globals, Values locals, const Body &body)
{
    if (tenths < 0 || isPending(id)) {
        return;
    }
    auto wait = std::make_shared<Wait>();
    wait->id = id;
    wait->issue = id.first == 0 ? 0 : ++m_lastIssue;
    wait->remainingTenths = tenths;
    wait->globals = std::move(globals);
    wait->locals = std::move(locals);
    wait->body = &body;
    note(TraceRecord::Kind::WaitBegun, id.second, tenths);
    wait->cause = trace().running();
    m_waits.emplace(id, std::move(wait));
}

void WaitTable::cancel(const QString &name)
{
    const auto found = m_waits.find({ 0, name });
    if (found != m_waits.end()) {
        found->second->isCancelled = true;
        m_waits.erase(found);
        note(TraceRecord::Kind::WaitCancelled, name);
    }
}

void WaitTable::cancelAll()
{
    for (const auto &[id, wait] : m_waits) {
        wait->isCancelled = true;
        note(TraceRecord::Kind::WaitCancelled, id.second);
    }
    m_waits.clear();
}

void WaitTable::tick()
{
    std::vector<std::shared_ptr<Wait>> snapshot;
    snapshot.reserve(m_waits.size());
    for (const auto &[id, wait] : m_waits) {
        snapshot.push_back(wait);
    }
    std::stable_sort(snapshot.begin(), snapshot.end(),
                     [](const auto &left, const auto &right) { return left->issue < right->issue; });
    std::vector<std::shared_ptr<Wait>> expired;
    for (const auto &wait : snapshot) {
        // One that is running waits for something itself, or it would not be ticked.
        if (!wait->isCancelled && !wait->isRunning && --wait->remainingTenths < 1) {
            runWait(*wait);
            expired.push_back(wait);
        }
    }
    for (const auto &wait : expired) {
        const auto found = m_waits.find(wait->id);
        if (found != m_waits.end() && found->second == wait) {
            m_waits.erase(found);
        }
    }
}

void WaitTable::runWait(Wait &wait)
{
    wait.isRunning = true;
    const TracedEvent traced(trace(), TraceRecord::of(TraceRecord::Kind::Wait).with(wait.id.second.toUtf8()),
                             wait.cause, TracedEvent::Keep::Always);
    swapGlobals(wait.globals);
    if (!m_interpreter.executeWithLocals(*wait.body, wait.locals)) {
        m_interpreter.reportTooDeep(QStringLiteral("wait '%1'").arg(wait.id.second));
    }
    swapGlobals(wait.globals);
    m_interpreter.state().storage().flush();
}

Trace &WaitTable::trace()
{
    return m_interpreter.state().trace();
}

void WaitTable::note(TraceRecord::Kind kind, const QString &name, int tenths)
{
    trace().add(TraceRecord::of(kind, {}, 0, tenths).with(name.toUtf8()));
}

void WaitTable::swapGlobals(Values &copies)
{
    for (const auto &copy : copies) {
        if (BasicType *global = m_interpreter.program().findGlobal(copy->name())) {
            swapContent(*global, *copy);
            const int storageClass = global->storageClass(); // what the body makes of the copy is not stored
            global->setStorageClass(copy->storageClass());
            copy->setStorageClass(storageClass);
        }
    }
}
