#pragma once
#include "net/IoThread.h"

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

    /// Takes over a non-blocking socket, which the handler serves on the thread.
    LinkSocket(int socket, IoThread &thread, IoHandler &handler);
    ~LinkSocket();
    LinkSocket(const LinkSocket &) = delete;
    LinkSocket &operator=(const LinkSocket &) = delete;

    int descriptor() const { return m_socket; }
    bool isOpen() const { return m_isOpen; }
    bool isTooSlow() const { return m_isTooSlow; } // closed because it does not read or confirm
    bool isReading() const { return m_isReading; }

    void setReading(bool isReading); // false: what comes stays in the system until the peer can send no more
    void noteRoom();                 // the system says that it takes bytes again
    void flush(LinkExchange &exchange);
    void hangUp(LinkExchange &exchange); // the I/O thread sees the end of the stream and removes the handler

private:
    void watch();

    const int m_socket;
    IoThread &m_thread;
    IoHandler &m_handler;
    bool m_isOpen = true;
    bool m_isTooSlow = false;
    bool m_isReading = true;
    bool m_waitsForRoom = false; // the I/O thread watches for room in the socket
};
