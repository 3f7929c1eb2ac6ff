#pragma once
#include "net/client/LinkMessage.h"
#include "net/link/LinkExchange.h"
#include <QElapsedTimer>
#include <QObject>
#include <QString>

class QTcpSocket;
class QTimer;

/// The other end of the link: what a panel or a management tool does, for tools and end-to-end tests.
/// Introduces itself when asked, keeps the connection alive, acknowledges what comes in and drops what came twice.
/// Owns: its socket and timer (Qt children). Thread: the one it was made on, which runs an event loop.
/// Ends: with its parent; the connection is then closed.
class LinkClient : public QObject
{
    Q_OBJECT
public:
    static constexpr quint16 kDefaultPort = 6139;

    struct Identity
    {
        int type = 1; // see PeerType; anything else is a panel
        int deviceNumber = 100;
        QByteArray name;
        QByteArray version;
    };

    explicit LinkClient(const Identity &identity, QObject *parent = nullptr);
    ~LinkClient() override;

    bool isIntroduced() const { return m_isIntroduced; }
    int pendingMessages() const { return m_exchange.pendingMessages(); } // sent and not acknowledged yet
    bool isConnected() const { return m_isConnected; }
    int deviceNumber() const { return m_identity.deviceNumber; }
    qint64 silentMs() const { return m_clock.elapsed() - m_lastHeardMs; } // since the controller sent something

    void connectTo(const QString &host, quint16 port = kDefaultPort);
    void close();
    void abort(); // at once, and what waits to be sent is dropped: for a peer that takes nothing any more

    /// \name What panels report. Each returns the message id that acknowledged() will name.
    quint32 push(int channel);
    quint32 release(int channel);
    quint32 reportLevel(int level, int value);
    quint32 sendMessage(quint8 code, const QByteArray &body); // any acknowledged message

    /// \name Answers to the controller's queries.
    void answerStatus(int channel, int status);
    void answerText(int channel, int state, const QByteArray &text);
    void answerProperty(int channel, const QByteArray &name, const QByteArray &value);
    void answerStateProperty(int channel, int state, const QByteArray &name, const QByteArray &value);
    void answerPageProperty(const QByteArray &page, const QByteArray &name, const QByteArray &value);

    void sendTextCommand(const QByteArray &text); // as the management tool does; replies come as messages
    void sendPlain(quint8 code, const QByteArray &body);
    void sendFrames(const QByteArray &frames); // whole ones

Q_SIGNALS:
    void introduced();                         // the controller has asked, and been told, who we are
    void received(const LinkMessage &message); // once, also when it came more often
    void acknowledged(quint32 messageId);
    void abandoned(int count);                   // this many messages found no acknowledgement in 5 s
    void disconnected();                         // after a connection had been made
    void failed(const QString &reason);          // no connection could be made
    void heardStranger(const QByteArray &words); // the peer begins with something that is no frame

private:
    void readAvailable();
    void takeFrame(const Frame &frame);
    void takeControllerFrame(const Frame &frame);
    void tick();
    void flush();

    const Identity m_identity;
    QTcpSocket *m_socket = nullptr; // Qt child
    QTimer *m_timer = nullptr;      // Qt child; every 200 ms while connected
    QElapsedTimer m_clock;
    LinkExchange m_exchange;
    qint64 m_lastHeardMs = 0;
    int m_ticks = 0;
    bool m_isConnected = false;
    bool m_hasHeard = false; // anything from the peer
    bool m_isIntroduced = false;
};
