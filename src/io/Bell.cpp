#include "io/Bell.h"

#include <sys/eventfd.h>
#include <unistd.h>

Bell::Bell(std::function<void()> work)
    : m_event(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
    , m_notifier(m_event.get(), QSocketNotifier::Read)
{
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier, std::move(work));
}

Bell::~Bell()
{
    m_notifier.setEnabled(false);
}

void Bell::ring()
{
    const quint64 one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_event.get(), &one, sizeof one);
}

void Bell::hush()
{
    quint64 rings = 0;
    [[maybe_unused]] const ssize_t count = ::read(m_event.get(), &rings, sizeof rings);
}
