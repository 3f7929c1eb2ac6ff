#pragma once
#include "interp/Code.h"

#include <QByteArray>

#include <atomic>
#include <memory>

class AST;
class Interpreter;
class ProgramState;
class FrameScope;

/// One local variable of a frame: a number, or an object that the block or call owning the slot deletes.
union Slot {
    double number;
    BasicType *object;
};

/// What RETURN handed over.
struct ReturnValue
{
    ValueView seen{};  // none: a RETURN without a value, or no RETURN at all
    ValueRef object{}; // what seen.object points to
};

/// Where a program is just now: its frame stack, the value on its way out of a function, the loop flag.
/// Thread: the main thread.
class Run
{
public:
    explicit Run(Interpreter &interpreter);

    AST &program() const { return m_program; }
    ProgramState &state() const { return m_state; }
    Interpreter &interpreter() const { return m_interpreter; }

    Slot *frame = nullptr; // of the running body
    Slot *top = nullptr;   // first free slot
    ReturnValue result;
    QByteArray scratch;                // see ScratchBytes
    std::atomic<quint32> turn{ 0 };    // counts what the program was called for; only the main thread changes it
    std::atomic<int> place{ 0 };       // of the statement that runs, 0: none; only the main thread changes it
    const FrameScope *scope = nullptr; // the innermost body
    bool loopFlag = false;             // a WHILE or FOR was entered and none has been left since

    bool stopRequested() const { return m_stop.load(std::memory_order_relaxed); }
    /// Whether a further call fits on the machine's stack and on the frame stack.
    bool hasRoom(int slots) const
    {
        return static_cast<const char *>(__builtin_frame_address(0)) > m_stackFloor && m_end - top > slots;
    }

    void error(const char *sourceText) const; // the program's error signal, translated
    void error(const char *sourceText, const QString &argument) const;
    void warning(const char *sourceText, const QString &argument) const;

private:
    static constexpr size_t kSlots = 1 << 18; // 2 MiB of address space, touched as needed

    AST &m_program;
    ProgramState &m_state;
    Interpreter &m_interpreter;
    const std::atomic<bool> &m_stop;
    std::unique_ptr<Slot[]> m_slots;
    Slot *m_end;
    const char *m_stackFloor;
};

/// An empty byte buffer whose memory is used again and again. Nested users get one of their own.
class ScratchBytes
{
public:
    explicit ScratchBytes(Run &run)
        : m_run(run)
    {
        bytes.swap(run.scratch);
    }
    ~ScratchBytes()
    {
        constexpr int kMostKept = 1 << 20;
        if (bytes.capacity() <= kMostKept) {
            bytes.resize(0);
            bytes.swap(m_run.scratch);
        }
    }
    ScratchBytes(const ScratchBytes &) = delete;
    ScratchBytes &operator=(const ScratchBytes &) = delete;

    QByteArray bytes;

private:
    Run &m_run;
};

/// A frame of its own for a body; the old one is back when it ends.
class FrameScope
{
public:
    FrameScope(Run &run, Slot *base, int slots)
        : m_run(run)
        , m_frame(run.frame)
        , m_base(base)
        , m_outer(run.scope)
        , m_calledFrom(run.place.load(std::memory_order_relaxed))
    {
        run.scope = this;
        run.frame = base;
        run.top = base + slots;
    }
    ~FrameScope()
    {
        m_run.top = m_base;
        m_run.frame = m_frame;
        m_run.scope = m_outer;
        m_run.place.store(m_calledFrom, std::memory_order_relaxed);
    }
    FrameScope(const FrameScope &) = delete;
    FrameScope &operator=(const FrameScope &) = delete;

    const FrameScope *outer() const { return m_outer; } // nullptr: none
    int calledFrom() const { return m_calledFrom; }     // the statement that ran before; 0: none

private:
    Run &m_run;
    Slot *m_frame;
    Slot *m_base;
    const FrameScope *m_outer;
    int m_calledFrom;
};

inline Flow Step::perform(Run &run) const
{
    run.place.store(m_place, std::memory_order_relaxed);
    return execute(run);
}
