#pragma once
#include "io/IoLoop.h"

#include <QHostAddress>

#include <functional>

class SocketLoop;

/// Looks a host's name up in a thread of its own, which may take long, and tells from the loop.
/// Owns: what it shares with the thread. Thread: the main thread. Ends: when it has told, or with the loop; the thread
///       ends when the system answers, and neither the program nor the end of the process waits for it.
class HostLookup final : public IoHandler
{
public:
    using Found = std::function<void(const QList<QHostAddress> &addresses)>; // best first; none: no such host
    static constexpr int kMostAtOnce = 32;

    /// False: too many are on their way already, or the system has no room for another.
    static bool start(SocketLoop &loop, const QString &name, Found found);

    int descriptor() const override;
    bool ready(quint32 epollEvents, qint64 nowMs) override;
    bool tick(qint64) override { return true; }

private:
    struct Shared;
    HostLookup(std::shared_ptr<Shared> shared, Found found);

    const std::shared_ptr<Shared> m_shared;
    const Found m_found;
};
