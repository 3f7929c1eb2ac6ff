#pragma once
#include "net/sockets/SocketEvents.h"

/// A connection that carries bytes both ways: over TCP, or over TLS.
/// Thread: the main thread. Nothing here waits.
class ByteStream
{
public:
    /// Who opened it. A stream calls its owner from the event loop, one call at a time: a handler that lets events in
    /// gets no second call of the same stream meanwhile.
    class Owner
    {
    public:
        virtual ~Owner() = default;
        virtual void connected(ByteStream &stream) = 0;
        virtual void received(ByteStream &stream, const QByteArray &bytes) = 0;
        virtual void ended(ByteStream &stream, int error) = 0; // by the peer or by a failure; the last call
    };

    enum class Close {
        Flush,  // what was written still goes out, for a bounded time
        Forget, // at once; the peer sees an end in order
        Reset,  // at once; the peer sees that something is missing
    };

    /// What waits for a slow peer. When it would become more, new data is refused.
    static constexpr int kMostWaitingBytes = 16 * 1024 * 1024;

    virtual ~ByteStream() = default;

    virtual bool isConnected() const = 0;
    virtual const SocketPeer &peer() const = 0;

    /// Writes all of it, at once or as the peer takes it, or nothing: false. Data of any size is taken when none waits.
    /// When it was refused the connection is to be closed: what comes later would go on behind a hole.
    virtual bool write(const QByteArray &bytes) = 0;
    virtual void close(Close how) = 0; // the owner is not called any more

    /// While the owner holds, nothing is read, and the peer is slowed down.
    virtual void setHolding(bool isHolding) = 0;
};
