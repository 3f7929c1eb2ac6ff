#pragma once
#include "net/porttest/PortTestMessage.h"
#include <QHostAddress>
#include <QObject>

#include <memory>

class QTcpServer;
class QTcpSocket;
class QTimer;
class QUdpSocket;

/// One end that the controller plays for somebody who checks the network: connects or listens, and tells what comes in.
/// Owns: its sockets (Qt children). Thread: the port test thread, all of them. Ends: with its session.
class PortTestEndpoint : public QObject
{
    Q_OBJECT
public:
    /// What arrives is told as one block when nothing has followed for 20 ms, or when it has grown to this.
    static constexpr int kLargestBlock = 64 * 1024;
    static constexpr int kMaxWaitingBytes = 1024 * 1024; // for a peer that does not read; more is not sent

    PortTestEndpoint();

    static std::unique_ptr<PortTestEndpoint> make(PortTest::Kind kind);

    virtual void start(const QString &host, quint16 port) = 0; // again: to another target or port
    virtual void send(const QByteArray &) {}

Q_SIGNALS:
    void stateChanged(bool isOn); // connected or listening
    void gotData(const QByteArray &block);

protected:
    void collect(const QByteArray &bytes);
    static void write(QTcpSocket &socket, const QByteArray &data);

private:
    void tellBlock();

    QTimer *m_quiet = nullptr; // Qt child
    QByteArray m_block;
};

class PortTestTcpClient : public PortTestEndpoint
{
    Q_OBJECT
public:
    void start(const QString &host, quint16 port) override;
    void send(const QByteArray &data) override;

private:
    QTcpSocket *m_socket = nullptr;
};

class PortTestTcpServer : public PortTestEndpoint
{
    Q_OBJECT
public:
    static constexpr int kMostConnections = 100;

    void start(const QString &host, quint16 port) override;
    void send(const QByteArray &data) override; // to every connection

private:
    void takeConnections();

    QTcpServer *m_server = nullptr;
};

/// Without a port of its own; it hears what is sent back to the port that the system gave it.
class PortTestUdpClient : public PortTestEndpoint
{
    Q_OBJECT
public:
    static constexpr int kMostEarly = 16; // datagrams

    void start(const QString &host, quint16 port) override;
    void send(const QByteArray &data) override; // one datagram

private:
    QUdpSocket *m_socket = nullptr;
    QHostAddress m_target;
    quint16 m_port = 0;
    int m_lookup = -1;      // of the name that was given last
    QByteArrayList m_early; // to be sent when it is known
};

class PortTestUdpServer : public PortTestEndpoint
{
    Q_OBJECT
public:
    void start(const QString &host, quint16 port) override;

private:
    QUdpSocket *m_socket = nullptr;
};
