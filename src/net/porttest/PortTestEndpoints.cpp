#include "net/porttest/PortTestEndpoints.h"

#include <QHostInfo>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUdpSocket>

namespace {
constexpr int kQuietMs = 20;

template <class Take>
void readDatagrams(QUdpSocket &socket, Take take)
{
    while (socket.hasPendingDatagrams()) {
        QByteArray data(static_cast<int>(socket.pendingDatagramSize()), 0);
        QHostAddress sender;
        const qint64 size = socket.readDatagram(data.data(), data.size(), &sender);
        if (size < 0 || sender.isNull()) {
            return;
        }
        data.truncate(static_cast<int>(size));
        take(data);
    }
}
} // namespace

PortTestEndpoint::PortTestEndpoint()
    : m_quiet(new QTimer(this))
{
    m_quiet->setSingleShot(true);
    m_quiet->setInterval(kQuietMs);
    connect(m_quiet, &QTimer::timeout, this, &PortTestEndpoint::tellBlock);
}

std::unique_ptr<PortTestEndpoint> PortTestEndpoint::make(PortTest::Kind kind)
{
    switch (kind) {
    case PortTest::Kind::TcpClient:
        return std::make_unique<PortTestTcpClient>();
    case PortTest::Kind::TcpServer:
        return std::make_unique<PortTestTcpServer>();
    case PortTest::Kind::UdpClient:
        return std::make_unique<PortTestUdpClient>();
    case PortTest::Kind::UdpServer:
        return std::make_unique<PortTestUdpServer>();
    }
    return nullptr;
}

void PortTestEndpoint::collect(const QByteArray &bytes)
{
    m_block += bytes;
    if (m_block.size() >= kLargestBlock) {
        tellBlock();
    } else if (!m_block.isEmpty()) {
        m_quiet->start();
    }
}

void PortTestEndpoint::write(QTcpSocket &socket, const QByteArray &data)
{
    // On its way to the peer it keeps what is written until it is there.
    const bool isUsable = socket.state() == QAbstractSocket::ConnectedState ||
                          socket.state() == QAbstractSocket::ConnectingState ||
                          socket.state() == QAbstractSocket::HostLookupState;
    if (isUsable && socket.bytesToWrite() + data.size() <= kMaxWaitingBytes) {
        socket.write(data);
    }
}

void PortTestEndpoint::tellBlock()
{
    m_quiet->stop();
    Q_EMIT gotData(std::exchange(m_block, QByteArray()));
}

void PortTestTcpClient::start(const QString &host, quint16 port)
{
    if (!m_socket) {
        m_socket = new QTcpSocket(this);
        m_socket->setReadBufferSize(kLargestBlock);
        connect(m_socket, &QTcpSocket::connected, this, [this] { Q_EMIT stateChanged(true); });
        connect(m_socket, &QTcpSocket::disconnected, this, [this] { Q_EMIT stateChanged(false); });
        connect(m_socket, &QTcpSocket::readyRead, this, [this] { collect(m_socket->readAll()); });
        connect(m_socket, &QTcpSocket::errorOccurred, this, [this] {
            if (m_socket->state() != QAbstractSocket::ConnectedState) { // no connection came about
                Q_EMIT stateChanged(false);
            }
        });
    }
    {
        const QSignalBlocker quietly(m_socket);
        m_socket->abort();
    }
    m_socket->connectToHost(host, port);
}

void PortTestTcpClient::send(const QByteArray &data)
{
    if (m_socket) {
        write(*m_socket, data);
    }
}

void PortTestTcpServer::start(const QString &, quint16 port)
{
    if (!m_server) {
        m_server = new QTcpServer(this);
        connect(m_server, &QTcpServer::newConnection, this, &PortTestTcpServer::takeConnections);
    }
    m_server->close();
    Q_EMIT stateChanged(m_server->listen(QHostAddress::Any, port));
}

void PortTestTcpServer::send(const QByteArray &data)
{
    const auto connections = findChildren<QTcpSocket *>();
    for (QTcpSocket *connection : connections) {
        write(*connection, data);
    }
}

void PortTestTcpServer::takeConnections()
{
    while (QTcpSocket *connection = m_server->nextPendingConnection()) {
        if (findChildren<QTcpSocket *>().size() > kMostConnections) { // this one counts already
            delete connection;
            continue;
        }
        connection->setReadBufferSize(kLargestBlock);
        connect(connection, &QTcpSocket::readyRead, this, [this, connection] { collect(connection->readAll()); });
        connect(connection, &QTcpSocket::disconnected, connection, &QObject::deleteLater);
        collect(connection->readAll());
    }
}

void PortTestUdpClient::start(const QString &host, quint16 port)
{
    if (!m_socket) {
        m_socket = new QUdpSocket(this);
        connect(m_socket, &QUdpSocket::readyRead, this,
                [this] { readDatagrams(*m_socket, [this](const QByteArray &data) { collect(data); }); });
    }
    m_target.clear();
    m_early.clear();
    m_port = port;
    if (m_lookup >= 0) {
        QHostInfo::abortHostLookup(m_lookup);
    }
    m_lookup = QHostInfo::lookupHost(host, this, [this](const QHostInfo &found) {
        m_target = found.addresses().value(0);
        const bool isIpv6 = m_target.protocol() == QAbstractSocket::IPv6Protocol;
        m_socket->abort();
        Q_EMIT stateChanged(!m_target.isNull() &&
                            m_socket->bind(QHostAddress(isIpv6 ? QHostAddress::AnyIPv6 : QHostAddress::AnyIPv4), 0));
        for (const QByteArray &datagram : std::exchange(m_early, {})) {
            send(datagram);
        }
    });
}

void PortTestUdpClient::send(const QByteArray &data)
{
    if (m_socket && !m_target.isNull()) {
        m_socket->writeDatagram(data, m_target, m_port);
    } else if (m_early.size() < kMostEarly) {
        m_early << data;
    }
}

void PortTestUdpServer::start(const QString &, quint16 port)
{
    if (!m_socket) {
        m_socket = new QUdpSocket(this);
        connect(m_socket, &QUdpSocket::readyRead, this,
                [this] { readDatagrams(*m_socket, [this](const QByteArray &data) { collect(data); }); });
    }
    m_socket->abort();
    Q_EMIT stateChanged(m_socket->bind(QHostAddress(QHostAddress::Any), port));
}
