#pragma once
#include "program/AST.h"

#include <QEventLoop>
#include <QObject>
#include <QPointer>

#include <functional>

/// A question that the running program waits for. The question is asked again every 100 ms, and meanwhile the main
/// thread's other events are handled, also those that ask questions of their own: the loops nest.
/// The wait is over with the answer, after the last try, when the program stops or goes away, or when the process
/// quits. Owns: its event loop. Thread: the main thread. Ends: with the function that asks.
///
///     AnswerLoop loop(program, kPanelTries);
///     connect(this, &DeviceManager::gotButtonStatus, &loop, [&](…) { … loop.finish(); });
///     loop.run([&] { panels->queryButtonStatus(device, channel); });
class AnswerLoop : public QObject
{
    Q_OBJECT
public:
    using Ask = std::function<void()>;

    /// \param program  whose stop ends the wait; may be null
    /// \param ticks    how many times 100 ms to wait
    AnswerLoop(AST *program, int ticks);

    /// Whether an answer may still count; false from finish() on and after the last tick.
    bool isOpen() const { return !m_isOver; }

    void run(const Ask &ask); // returns when the wait is over; an answer given while asking ends it before it begins
    void finish();            // the answer is there

private:
    void tick(const Ask &ask);
    bool isProgramGone() const;

    QEventLoop m_loop;
    QPointer<AST> m_program;
    bool m_hasProgram;
    int m_ticksLeft;
    bool m_isOver = false;
};
