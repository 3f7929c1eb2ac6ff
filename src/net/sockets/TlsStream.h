#pragma once
#include "net/sockets/ByteStream.h"
#include "net/sockets/SocketErrors.h"

#include <QHostAddress>

#include <memory>

class QSslSocket;
class SocketLoop;

/// One connection of the program over TLS, on its way or there. Certificates are checked against those that the system
/// trusts.
/// Owns: the socket, and the owner together with whoever else holds it. Thread: the main thread. The owner is called
///       from the event loop only, never from within the socket's own signals.
/// Ends: when the peer or a failure ends it, or close() does. The socket's parent is the loop: it ends with that at
/// last.
class TlsStream final : public ByteStream, public std::enable_shared_from_this<TlsStream>
{
public:
    static constexpr int kConnectMs = 30000; // until the connection is safe
    static constexpr int kFlushMs = 5000;    // after close()

    /// Begins to connect. \param name  whom the certificate must name
    static std::shared_ptr<TlsStream> connectTo(SocketLoop &loop, const QHostAddress &address, quint16 port,
                                                const QString &name, std::shared_ptr<Owner> owner);
    ~TlsStream() override;

    bool isConnected() const override { return m_state == State::Open; }
    const SocketPeer &peer() const override { return m_peer; }
    bool write(const QByteArray &bytes) override;
    void close(Close how) override;
    void setHolding(bool isHolding) override;

private:
    enum class State { Connecting, Open, Closed };
    TlsStream(SocketLoop &loop, std::shared_ptr<Owner> owner);

    void watch();
    void callLater(); // goOn(), once
    void goOn();
    template <class Call>
    void tell(Call call);

    SocketLoop &m_loop;
    QSslSocket *m_socket; // a child of the loop; nullptr: let go
    std::shared_ptr<Owner> m_owner;
    State m_state = State::Connecting;
    SocketPeer m_peer;
    int m_endError = kNoSocketError; // the end has come, and is told when all input has been
    int m_timeoutTicket = 0;
    bool m_isCalled = false; // goOn() is on its way
    bool m_isTelling = false;
    bool m_isHolding = false;
};
