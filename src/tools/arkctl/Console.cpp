#include "tools/arkctl/Console.h"
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

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
    m_signals = Descriptor(::signalfd(-1, &wishes, SFD_CLOEXEC | SFD_NONBLOCK));
    m_notifier = new QSocketNotifier(m_signals.get(), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo taken{};
        if (::read(m_signals.get(), &taken, sizeof taken) > 0) {
            Q_EMIT stopRequested();
        }
    });
}

Console::~Console()
{
    delete m_notifier;
}

void Console::print(const std::string &line)
{
    if (m_isBroken) {
        return;
    }
    const Written written = write(line + '\n');
    m_isBroken = written != Written::Done;
    if (written == Written::NoReader) {
        Q_EMIT stopRequested();
    } else if (written == Written::Failed) {
        Q_EMIT outputFailed();
    }
}

Console::Written Console::write(const std::string &text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
        return Written::Done;
    }
    if (errno == EPIPE) {
        return Written::NoReader;
    }
    complain(std::string("cannot write the output: ") + std::strerror(errno), "see whether the disk is full");
    return Written::Failed;
}

void Console::complain(const std::string &whatAndWhere, const std::string &tryThis)
{
    std::fprintf(stderr, "arkctl: %s; %s\n", whatAndWhere.c_str(), tryThis.c_str());
}
