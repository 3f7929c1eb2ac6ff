#pragma once
#include "base/Descriptor.h"
#include "io/IoLoop.h"
#include <QHostAddress>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

/// The socket on which connections are accepted.
/// Owns: its descriptor. Thread: made anywhere, then served by the loop it is added to.
/// Ends: when the loop removes it, also while it accepts; its port is free from then on.
class ListenSocket final : public IoHandler
{
public:
    /// Called on the loop's thread with a connected non-blocking socket.
    using Accepted = std::function<void(Descriptor socket, const QString &peerAddress)>;

    struct Result
    {
        std::unique_ptr<ListenSocket> socket; // null: see error
        QString error;                        // with address, port and reason
    };

    static constexpr int kManyPerTurn = 64;

    static bool isHere(const QHostAddress &address); // this machine has it now

    /// Also at an address that this machine does not have yet: it is served when it comes.
    /// \param port     0 for any free one
    /// \param perTurn  connections taken before the loop's other handlers are served
    static Result open(const QHostAddress &address, quint16 port, IoLoop &loop, Accepted accepted,
                       int perTurn = kManyPerTurn);

    quint16 port() const;

    int descriptor() const override { return m_socket.get(); }
    bool ready(quint32 epollEvents, qint64 nowMs) override;
    bool tick(qint64 nowMs) override;
    void removed() override;

private:
    ListenSocket(Descriptor socket, IoLoop &loop, Accepted accepted, int perTurn);

    Descriptor m_socket; // none: removed
    IoLoop &m_loop;
    Accepted m_accepted;
    const int m_perTurn;
    bool m_isResting = false; // the process has no descriptor left: the next try is at the next tick
};
