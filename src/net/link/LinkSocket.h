#pragma once
#include "base/Descriptor.h"
#include "io/IoThread.h"

class LinkExchange;

/// The socket of a link connection as its owner writes to it: what the system does not take at once leaves when there
/// is room, and a peer that lets too much pile up is cut off.
/// Owns: the descriptor. Thread: any; the owner guards it with the lock that guards its exchange.
/// Ends: with its owner. The descriptor stays open until then: its number must not mean another socket meanwhile.
class LinkSocket
{
public:
    /// Bytes that may wait for a peer which does not read; with more its connection is closed.
    static constexpr int kMaxWaitingBytes = 1024 * 1024;
    /// Bytes of messages that a peer may leave unconfirmed; likewise.
    static constexpr int kMaxPendingBytes = 8 * 1024 * 1024;
    /// Bytes that may wait for a peer that has not introduced itself.
    static constexpr int kMaxStrangersBytes = 64 * 1024;
    /// Bytes kept for all peers together, their unfinished frames too, beside a few for each. Who would have more is
    /// cut off.
    static constexpr qint64 kMaxTogetherBytes = 64LL * 1024 * 1024;
    static constexpr int kLeastBytes = 4 * 1024;
    enum class End { None, Plain, DoesNotRead, TakesTooMuch };

    /// A non-blocking socket, which the handler serves on the thread.
    LinkSocket(Descriptor socket, IoThread &thread, IoHandler &handler);
    ~LinkSocket();
    LinkSocket(const LinkSocket &) = delete;
    LinkSocket &operator=(const LinkSocket &) = delete;

    int descriptor() const { return m_socket.get(); }
    bool isOpen() const { return m_end == End::None; }
    End end() const { return m_end; } // why it is not open
    bool isReading() const { return m_isReading; }

    void setReading(bool isReading); // false: what comes stays in the system until the peer can send no more
    void noteRoom();                 // the system says that it takes bytes again
    void trust() { m_maxWaiting = kMaxWaitingBytes; } // the peer has introduced itself
    void flush(LinkExchange &exchange);               // and looks at what is kept for the peer
    void hangUp(LinkExchange &exchange,
                End why = End::Plain); // the I/O thread sees the end of the stream and removes the handler

private:
    void watch();
    bool mayKeep(const LinkExchange &exchange);
    void cutOff(LinkExchange &exchange, End why);

    const Descriptor m_socket;
    IoThread &m_thread;
    IoHandler &m_handler;
    End m_end = End::None;
    int m_maxWaiting = kMaxStrangersBytes;
    qint64 m_held = 0; // of the bytes kept for all
    bool m_isReading = true;
    bool m_waitsForRoom = false; // the I/O thread watches for room in the socket
};
