#pragma once
#include "io/Backlog.h"
#include "net/link/LinkSession.h"
#include "net/link/LinkSocket.h"
#include "net/transfer/FileTransfers.h"
#include <QString>

#include <mutex>

class SocketClient;

/// Takes what the peers of many connections tell, and hears when one is gone.
/// Both are called on the connection's I/O thread, with no lock held.
class LinkEventSink
{
public:
    virtual ~LinkEventSink() = default;
    virtual void takeEvent(SocketClient &client, LinkEvent &event) = 0;
    virtual void clientClosed(SocketClient &client) = 0;
    virtual bool isFull() const = 0; // clients that are paused go on reading when it no longer is; any thread
};

/// One accepted link connection: a touch panel, a management tool or another controller.
/// Owns: the socket and the session. Thread: reading and ticking on one I/O thread for life; the sending functions may
///       be called on any thread and write to the socket themselves, which saves waking the I/O thread.
/// Ends: with its last holder; the socket is closed when the I/O thread removes it.
class SocketClient final : public IoHandler,
                           public PausableReader,
                           public TransferPeer,
                           public std::enable_shared_from_this<SocketClient>
{
public:
    static constexpr int kMaxWaitingBytes = LinkSocket::kMaxWaitingBytes;

    /// A connected non-blocking socket. The thread and the sink outlive the client.
    SocketClient(Descriptor socket, const QString &peerAddress, IoThread &thread, LinkEventSink &sink);
    ~SocketClient() override;

    QString peerAddress() const { return m_peerAddress; }
    LinkSocket::End end() const;                                  // why it was closed
    bool isBackedUp() const;                                      // half of what may wait for it does
    int peerType() const { return m_session.peerType(); }         // I/O thread only
    int deviceNumber() const { return m_session.deviceNumber(); } // I/O thread only
    void turnAway(int formerNumber); // closes: its introduction cannot be taken. I/O thread only

    void begin(); // writes the identify request
    void sendPlain(quint8 code, const QByteArray &body);
    void sendFrame(const QByteArray &frame) override; // a whole one, or several
    void sendMessage(quint8 code, const QByteArray &body);
    void sendLevel(int levelCode, int level);
    void setTransferring(bool isTransferring) override;
    void close();
    void setReading(bool isReading) override;
    void pause(); // does not read until the sink has room; any thread

    /// What the program says to this peer while it handles an event of it leaves in one write, after the event's
    /// acknowledgement: when the last holder lets go of this, or in parts of 16 KiB, and at least every 20 ms.
    /// I/O thread only, once for each event.
    std::shared_ptr<const void> gatherUntilHandled();

    int descriptor() const override { return m_socket.descriptor(); }
    bool ready(quint32 epollEvents, qint64 nowMs) override;
    bool tick(qint64 nowMs) override;
    void due() override;
    void removed() override;

private:
    template <class Action>
    void send(Action action);
    bool readAvailable(qint64 nowMs);
    void handled();
    void flush();         // with the lock held
    void updateReading(); // likewise

    const QString m_peerAddress;
    IoThread &m_thread;
    LinkEventSink &m_sink;
    bool m_isDueAsked = false;  // on the I/O thread only; due() follows
    mutable std::mutex m_mutex; // guards everything below but m_events
    LinkSocket m_socket;
    LinkSession m_session;
    bool m_isPaused = false;         // by pause()
    bool m_isHeld = false;           // by setReading()
    int m_unhandledEvents = 0;       // what is sent waits for them in the session's output
    std::vector<LinkEvent> m_events; // of one read; kept for its capacity
};
