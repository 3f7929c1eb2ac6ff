#include "interp/Run.h"

#include "base/Messages.h"
#include "interp/Interpreter.h"

#include <sys/resource.h>

namespace {
/// The lowest address that frames of the interpreter may reach: the main thread's stack limit less a reserve for the
/// deepest built-in.
const char *stackFloor()
{
    constexpr size_t kReserve = 512UL * 1024;
    constexpr size_t kMost = 64UL * 1024 * 1024;
    rlimit limit{};
    size_t size = 8UL * 1024 * 1024;
    if (getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        size = std::min<size_t>(limit.rlim_cur, kMost);
    }
    // What main() and the event loop have used already is well within the reserve.
    return static_cast<const char *>(__builtin_frame_address(0)) - size + kReserve;
}
} // namespace

Run::Run(Interpreter &interpreter)
    : m_program(interpreter.program())
    , m_state(interpreter.state())
    , m_interpreter(interpreter)
    , m_stop(m_state.stopFlag())
    , m_slots(new Slot[kSlots])
    , m_end(m_slots.get() + kSlots)
    , m_stackFloor(stackFloor())
{
    frame = top = m_slots.get();
    m_state.trace().setPlace(&place);
}

void Run::error(const char *sourceText) const
{
    m_program.reportError(translated(sourceText));
}

void Run::error(const char *sourceText, const QString &argument) const
{
    m_program.reportError(translated(sourceText).arg(argument));
}

void Run::warning(const char *sourceText, const QString &argument) const
{
    m_program.reportWarning(translated(sourceText).arg(argument));
}
