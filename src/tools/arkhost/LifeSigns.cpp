#include "tools/arkhost/LifeSigns.h"

#include <QSocketNotifier>

#include <cstddef>

#include <sys/socket.h>
#include <sys/un.h>

LifeSigns::LifeSigns(int limitMs)
    : m_limitMs(limitMs)
{
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, &LifeSigns::lookOnce);
    if (limitMs == 0) {
        return;
    }
    m_socket = Descriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    auto *const any = reinterpret_cast<sockaddr *>(&address);
    socklen_t size = sizeof address.sun_family; // no name: the system finds one that nobody has
    if (::bind(m_socket.get(), any, size) != 0 || ::getsockname(m_socket.get(), any, &(size = sizeof address)) != 0) {
        m_socket.close();
        return;
    }
    const size_t before = offsetof(sockaddr_un, sun_path) + 1; // the zero in front says that it is no file
    m_name = QLatin1Char('@') + QString::fromLatin1(address.sun_path + 1, static_cast<int>(size - before));
    auto *notifier = new QSocketNotifier(m_socket.get(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &LifeSigns::takeSigns);
}

void LifeSigns::addTo(QProcessEnvironment &environment) const
{
    if (m_socket.isOpen()) {
        constexpr qint64 kMicroseconds = 1000;
        environment.insert(QStringLiteral("NOTIFY_SOCKET"), m_name);
        environment.insert(QStringLiteral("WATCHDOG_USEC"), QString::number(m_limitMs * kMicroseconds));
        environment.remove(QStringLiteral("WATCHDOG_PID")); // ours, should systemd watch the supervisor
    }
}

void LifeSigns::controllerStarted()
{
    m_isMissed = false;
    takeSigns(); // of the one before
    if (m_socket.isOpen()) {
        m_patience.start(kStartMs);
    }
}

bool LifeSigns::takeSigns()
{
    bool wereAny = false;
    char bytes[4096]; // what it says is for people; that it says something counts
    while (::recv(m_socket.get(), bytes, sizeof bytes, 0) >= 0) {
        wereAny = true;
    }
    if (wereAny && m_patience.isActive()) {
        m_patience.start(m_limitMs);
    }
    return wereAny;
}

void LifeSigns::lookOnce()
{
    // When this process was stopped itself, the signs of all that time still wait.
    m_patience.start(m_limitMs);
    if (!takeSigns()) {
        m_patience.stop();
        m_isMissed = true;
        Q_EMIT missed();
    }
}
