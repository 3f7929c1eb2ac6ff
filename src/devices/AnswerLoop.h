#pragma once
#include "interp/ProgramState.h"

#include <QEventLoop>
#include <QObject>
#include <QPointer>
#include <QVariant>

#include <functional>

/// A question that the running program waits for. The question is asked again every 100 ms, and meanwhile the main
/// thread's other events are handled, also those that ask questions of their own: the loops nest.
/// The wait is over with the answer, after the last try, when the program stops or goes away, or when the process
/// quits. Owns: its event loop. Thread: the main thread. Ends: with the function that asks.
///
///     AnswerLoop loop(program, kPanelTries);
///     connect(this, &DeviceManager::panelAnswered, &loop, [&](…) { … loop.finish(value); });
///     return loop.run([&] { panels->askPanel(device, question); });
class AnswerLoop : public QObject
{
    Q_OBJECT
public:
    using Ask = std::function<void()>;

    /// \param program  whose stop ends the wait; may be null
    /// \param ticks    how many times 100 ms to wait
    AnswerLoop(ProgramState *program, int ticks);

    /// Returns the answer when the wait is over; one given while asking ends it before it begins. Invalid: none came.
    QVariant run(const Ask &ask);
    void finish(const QVariant &answer = {}); // from then on, and after the last tick, no other counts

private:
    void tick(const Ask &ask);
    bool isProgramGone() const;

    QEventLoop m_loop;
    QPointer<ProgramState> m_program;
    bool m_hasProgram;
    int m_ticksLeft;
    bool m_isOver = false;
    QVariant m_answer;
};
