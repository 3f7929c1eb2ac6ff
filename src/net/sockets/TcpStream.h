#pragma once
#include "base/Descriptor.h"
#include "io/IoLoop.h"
#include "io/OutBuffer.h"
#include "io/SocketAddress.h"
#include "net/sockets/ByteStream.h"
#include "net/sockets/SocketErrors.h"

#include <memory>

class SocketLoop;

/// One TCP connection of the program, on its way or there.
/// Owns: the socket, and the owner together with whoever else holds it. Thread: the main thread.
/// Ends: when the peer or a failure ends it, or close() does; the loop keeps it until then.
class TcpStream final : public IoHandler, public ByteStream, public std::enable_shared_from_this<TcpStream>
{
public:
    static constexpr qint64 kConnectMs = 30000; // then it has failed, with a timeout
    static constexpr qint64 kFlushMs = 5000;    // after close()

    struct Result
    {
        std::shared_ptr<TcpStream> stream; // null: see error
        int error = kNoSocketError;
    };
    /// Begins to connect. \param boundPort  the own port; 0: any
    static Result connectTo(SocketLoop &loop, const SocketAddress &address, quint16 boundPort,
                            std::shared_ptr<Owner> owner);
    /// Of an accepted socket; nullptr: the system does not. The owner hears of it by announce().
    static std::shared_ptr<TcpStream> accepted(SocketLoop &loop, Descriptor socket, std::shared_ptr<Owner> owner);
    void announce();

    ~TcpStream() override;

    bool isConnected() const override { return m_state == State::Open; }
    const SocketPeer &peer() const override { return m_peer; }
    bool write(const QByteArray &bytes) override;
    void close(Close how) override;
    void release();           // the owner is not called any more; what was written still goes out, until close()
    bool isDelivered() const; // all that was written has reached the peer's system
    bool goesTo(const SocketAddress &address) const;
    void setHolding(bool isHolding) override;

    int descriptor() const override { return m_socket.get(); }
    bool ready(quint32 epollEvents, qint64 nowMs) override;
    bool tick(qint64 nowMs) override;
    void removed() override;

private:
    enum class State { Connecting, Open, Closing, Closed };
    TcpStream(SocketLoop &loop, Descriptor socket, std::shared_ptr<Owner> owner, State state);

    template <class Call>
    void tell(Call call);
    bool finishConnecting();
    bool readOnce();
    bool discard();
    bool fail(int error);
    bool hasRoom(int bytes) const;
    void flush();
    void noteWaiting();
    void watch();
    void unmute();

    SocketLoop &m_loop;
    Descriptor m_socket; // none: removed
    std::shared_ptr<Owner> m_owner;
    State m_state;
    SocketPeer m_peer;
    OutBuffer m_out;
    int m_noted = 0;         // of m_out, in the loop's count
    qint64 m_deadlineMs = 0; // on the program's clock, while connecting and closing
    quint32 m_watched = 0;
    bool m_isTelling = false; // the owner is being called
    bool m_isHolding = false;
    bool m_isMuted = false;    // input is there and cannot be taken now
    bool m_isShutDown = false; // the peer has been told that no more comes
};
