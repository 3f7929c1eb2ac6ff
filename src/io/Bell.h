#pragma once
#include "base/Descriptor.h"
#include <QSocketNotifier>

#include <functional>

/// Calls the main thread to work that waits, again and again while it rings; between two calls the event loop sees to
/// ticks and sockets. Whoever owns the work rings when there is some and hushes when there is none.
class Bell
{
public:
    explicit Bell(std::function<void()> work); // called on the thread that made the bell
    ~Bell();
    Bell(const Bell &) = delete;
    Bell &operator=(const Bell &) = delete;

    void ring(); // any thread
    void hush();

private:
    const Descriptor m_event;
    QSocketNotifier m_notifier;
};
