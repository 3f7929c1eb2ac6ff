#pragma once
#include "base/Frame.h"
#include "net/link/LinkCodes.h"

#include <QTcpServer>
#include <QTcpSocket>

/// A controller that others listen to: asks who is there, confirms, keeps what it is told, says what the test wants.
/// It serves one connection, the latest.
class FakeTarget : public QObject
{
public:
    explicit FakeTarget(int systemNumber = 0) // 0: it does not tell
        : number(systemNumber)
    {
        connect(&m_server, &QTcpServer::newConnection, this, &FakeTarget::accept);
    }

    /// \param port  0 for any free one
    bool listen(const QString &address, quint16 port = 0) { return m_server.listen(QHostAddress(address), port); }
    quint16 port() const { return m_server.serverPort(); }

    static QByteArray message(quint32 id, const QByteArray &body)
    {
        return messageFrameBytes(LinkCode::kController, id, body);
    }
    void say(const QByteArray &body) { write(message(++m_lastId, body)); }
    void write(const QByteArray &bytes) { m_peer->write(bytes); }
    void hangUp() { m_peer->abort(); }
    bool isConnected() const { return m_peer && m_peer->state() == QAbstractSocket::ConnectedState; }
    QString peerAddress() const { return m_peer->peerAddress().toString(); }

    QByteArrayList heard;                  // bodies of messages, but for questions for the number
    QHash<QByteArray, QByteArray> answers; // what is said when a body is heard
    int questions = 0;                     // for the number
    int heartbeats = 0;
    QByteArray introduction; // the body of the last handshake
    int connections = 0;     // so far
    int number = 0;
    bool doesRead = true;

private:
    void accept()
    {
        m_peer = m_server.nextPendingConnection();
        m_parser = FrameParser();
        ++connections;
        if (!doesRead) {
            m_peer->setReadBufferSize(1);
            return;
        }
        connect(m_peer, &QTcpSocket::readyRead, this, &FakeTarget::read);
        write(frameBytes(LinkCode::kIdentify, "\x01"));
    }

    void read()
    {
        for (const Frame &frame : m_parser.feed(m_peer->readAll())) {
            if (frame.code == LinkCode::kHandshake) {
                introduction = frame.body;
            } else if (frame.code == LinkCode::kHeartbeat) {
                ++heartbeats;
                write(frameBytes(LinkCode::kHeartbeatAnswer, QByteArray()));
            } else if (frame.code == LinkCode::kController) {
                write(frameBytes(LinkCode::kAcknowledgement, frame.body.left(4)));
                take(frame.body.mid(4));
            }
        }
    }

    void take(const QByteArray &body)
    {
        if (body == "sys:1") {
            ++questions;
            if (number > 0) {
                say("sys:" + QByteArray::number(number));
            }
            return;
        }
        heard << body;
        if (answers.contains(body)) {
            say(answers.value(body));
        }
    }

    QTcpServer m_server;
    QTcpSocket *m_peer = nullptr;
    FrameParser m_parser;
    quint32 m_lastId = 0;
};
