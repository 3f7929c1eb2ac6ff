#include "io/Bell.h"

#include <sys/eventfd.h>
#include <unistd.h>

Bell::Bell(std::function<void()> work)
    : m_event(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
    , m_notifier(m_event, QSocketNotifier::Read)
{
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier, std::move(work));
}

Bell::~Bell()
{
    m_notifier.setEnabled(false);
    ::close(m_event);
}

void Bell::ring()
{
    const quint64 one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_event, &one, sizeof one);
}

void Bell::hush()
{
    quint64 rings = 0;
    [[maybe_unused]] const ssize_t count = ::read(m_event, &rings, sizeof rings);
}
