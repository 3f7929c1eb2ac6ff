#include "tools/arkctl/Console.h"
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>

#include <sys/signalfd.h>
#include <unistd.h>

Console::Console(QObject *parent)
    : QObject(parent)
{
    sigset_t wishes;
    sigemptyset(&wishes);
    sigaddset(&wishes, SIGINT);
    sigaddset(&wishes, SIGTERM);
    sigprocmask(SIG_BLOCK, &wishes, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // a write that fails says the same
    m_signals = ::signalfd(-1, &wishes, SFD_CLOEXEC | SFD_NONBLOCK);
    m_notifier = new QSocketNotifier(m_signals, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo taken{};
        if (::read(m_signals, &taken, sizeof taken) > 0) {
            Q_EMIT stopRequested();
        }
    });
}

Console::~Console()
{
    delete m_notifier;
    ::close(m_signals);
}

void Console::print(const std::string &line)
{
    if (m_isBroken) {
        return;
    }
    const std::string whole = line + '\n';
    if (std::fwrite(whole.data(), 1, whole.size(), stdout) != whole.size() || std::fflush(stdout) != 0) {
        m_isBroken = true;
        Q_EMIT stopRequested();
    }
}

void Console::complain(const std::string &whatAndWhere, const std::string &tryThis)
{
    std::fprintf(stderr, "arkctl: %s; %s\n", whatAndWhere.c_str(), tryThis.c_str());
}
