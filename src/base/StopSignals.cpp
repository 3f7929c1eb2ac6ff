#include "base/StopSignals.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>

#include <sys/eventfd.h>
#include <unistd.h>

namespace {
constexpr int kSignals[] = { SIGTERM, SIGINT, SIGHUP };
void (*callAtOnce)() = nullptr;
int wakeDescriptor = -1; // set before the handlers, closed after them

void handle(int)
{
    const int savedErrno = errno;
    if (callAtOnce) {
        callAtOnce();
    }
    const uint64_t one = 1;
    // A counter that is full has woken the loop already.
    [[maybe_unused]] const ssize_t written = ::write(wakeDescriptor, &one, sizeof one);
    errno = savedErrno;
}

/// Whoever started the process wants it to outlive the terminal.
bool isForNohup(int number)
{
    struct sigaction present = {};
    return number == SIGHUP && ::sigaction(number, nullptr, &present) == 0 && present.sa_handler == SIG_IGN;
}

void setHandler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int number : kSignals) {
        if (!isForNohup(number)) {
            ::sigaction(number, &action, nullptr);
        }
    }
}
} // namespace

StopSignals::StopSignals(void (*atOnce)(), QObject *parent)
    : QObject(parent)
{
    callAtOnce = atOnce;
    wakeDescriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    m_notifier = new QSocketNotifier(wakeDescriptor, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        uint64_t count = 0;
        [[maybe_unused]] const ssize_t taken = ::read(wakeDescriptor, &count, sizeof count);
        Q_EMIT received();
    });
    setHandler(handle);
}

StopSignals::~StopSignals()
{
    setHandler(SIG_IGN);
    delete m_notifier;
    ::close(wakeDescriptor);
}

void StopSignals::setBlocked(bool isBlocked)
{
    sigset_t set;
    ::sigemptyset(&set);
    for (const int number : kSignals) {
        ::sigaddset(&set, number);
    }
    ::pthread_sigmask(isBlocked ? SIG_BLOCK : SIG_UNBLOCK, &set, nullptr);
}
