#include "devices/AnswerLoop.h"

#include "base/Clock.h"

#include <utility>

namespace {
constexpr int kRepeatMs = 100;
}

AnswerLoop::AnswerLoop(ProgramState *program, int ticks)
    : m_program(program)
    , m_hasProgram(program != nullptr)
    , m_ticksLeft(ticks)
{}

QVariant AnswerLoop::run(const Ask &ask)
{
    if (isProgramGone()) {
        m_isOver = true;
        return {};
    }
    ask();
    if (m_isOver) {
        return m_answer;
    }
    const int ticket = Clock::instance().every(kRepeatMs, [this, &ask] { tick(ask); });
    m_loop.exec();
    Clock::instance().cancel(ticket);
    m_isOver = true; // also when the process quits
    return m_answer;
}

void AnswerLoop::finish(const QVariant &answer)
{
    if (!std::exchange(m_isOver, true)) {
        m_answer = answer;
        m_loop.quit();
    }
}

void AnswerLoop::tick(const Ask &ask)
{
    // A wait that is over can still tick: a question asked meanwhile keeps this loop from returning.
    if (m_isOver) {
        return;
    }
    if (isProgramGone()) {
        finish();
        return;
    }
    ask();
    if (--m_ticksLeft <= 0) {
        finish();
    }
}

bool AnswerLoop::isProgramGone() const
{
    return m_hasProgram && (!m_program || m_program->stopRequested());
}
