#include "web/HttpTlsConnection.h"
#include "base/Messages.h"
#include "io/IoThread.h"

#include <QDebug>
#include <QFile>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpServer>
#include <QThread>
#include <QTimer>

#include <algorithm>

#include <unistd.h>

namespace {
constexpr int kTlsPiece = 16 * 1024;
constexpr qint64 kLingerMs = 2000;

class NoPlace final : public HttpRequestHandler
{
public:
    void service(const HttpRequest &, HttpResponse &response) override
    {
        response.setStatus(503, QByteArrayLiteral("too many connections"));
        response.setHeader(QByteArrayLiteral("Connection"), QByteArrayLiteral("close"));
        response.write(QByteArrayLiteral("Too many connections\r\n"), HttpResponse::Part::Last);
    }
};

HttpSettings briefly(HttpSettings settings)
{
    settings.readTimeoutMs = settings.stallAfterMs;
    return settings;
}

QByteArray contentOf(const QString &path, QString &problem)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problem = file.errorString();
    }
    return file.isOpen() ? file.readAll() : QByteArray();
}

QSslKey readKey(const QByteArray &pem)
{
    for (const QSsl::KeyAlgorithm algorithm : { QSsl::Rsa, QSsl::Ec }) {
        if (QSslKey key(pem, algorithm); !key.isNull()) {
            return key;
        }
    }
    return {};
}
/// What the TLS library says against a configuration; empty: nothing. It tells only when a connection begins, so one
/// with ourselves does.
QString faultOf(const QSslConfiguration &configuration)
{
    constexpr int kWaitMs = 1000;
    QTcpServer server;
    QTcpSocket client;
    if (!server.listen(QHostAddress::LocalHost)) {
        return {};
    }
    client.connectToHost(server.serverAddress(), server.serverPort());
    if (!client.waitForConnected(kWaitMs) || !server.waitForNewConnection(kWaitMs)) {
        return {};
    }
    const std::unique_ptr<QTcpSocket> accepted(server.nextPendingConnection());
    QSslSocket socket;
    socket.setSocketDescriptor(::dup(static_cast<int>(accepted->socketDescriptor())));
    socket.setSslConfiguration(configuration);
    socket.startServerEncryption();
    const bool isRefused = socket.error() == QAbstractSocket::SslInternalError ||
                           socket.error() == QAbstractSocket::SslInvalidUserDataError;
    return isRefused ? socket.errorString() : QString();
}

/// For an event, which has to be copyable.
std::shared_ptr<Descriptor> shared(Descriptor &&descriptor)
{
    return std::make_shared<Descriptor>(std::move(descriptor));
}
} // namespace

HttpTlsConnection::HttpTlsConnection(Descriptor socket, const QSslConfiguration &configuration,
                                     const HttpService &service, std::shared_ptr<Place> place, QObject *parent)
    : QObject(parent)
    , m_service(service)
    , m_place(std::move(place))
    , m_conversation(service.settings, service.handler, linkClockMs())
    , m_socket(new QSslSocket(this))
    , m_beganMs(linkClockMs())
{
    connect(m_socket, &QSslSocket::readyRead, this, &HttpTlsConnection::move);
    connect(m_socket, &QSslSocket::encryptedBytesWritten, this, &HttpTlsConnection::move);
    connect(m_socket, &QSslSocket::disconnected, this, &QObject::deleteLater);
    connect(m_socket, &QSslSocket::errorOccurred, this, &QObject::deleteLater);
    if (!m_socket->setSocketDescriptor(socket.get())) {
        qDebug("HttpConnectionHandler (%p): cannot initialize socket: %s", static_cast<void *>(this),
               qPrintable(m_socket->errorString()));
        deleteLater();
        return;
    }
    socket.release();
    m_socket->setReadBufferSize(kTlsPiece);
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    qDebug("HttpConnectionHandler (%p): Starting encryption", static_cast<void *>(this));
    m_socket->setSslConfiguration(configuration);
    m_socket->startServerEncryption();
    auto *const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &HttpTlsConnection::tick);
    timer->start(IoLoop::kTickMs);
}

HttpTlsConnection::~HttpTlsConnection()
{
    m_socket->disconnect(this); // its end must not reach a connection that is gone
    m_service.pool.remove(*m_place);
}

void HttpTlsConnection::move()
{
    if (m_lingersUntilMs > 0) {
        m_socket->readAll();
        return;
    }
    bool isMoving = true;
    while (isMoving) {
        isMoving = moveOut();
        if (m_conversation.wantsInput() && m_socket->bytesAvailable() > 0) {
            const QByteArray bytes = m_socket->read(kTlsPiece);
            m_conversation.receive(bytes.constData(), bytes.size(), linkClockMs());
            isMoving = true;
        }
        if (isMoving) {
            m_place->setActive(linkClockMs());
        }
    }
    if (m_conversation.isOver()) {
        m_service.pool.remove(*m_place); // it is another's already
        m_lingersUntilMs = linkClockMs() + kLingerMs;
        m_socket->disconnectFromHost(); // when all is written
    }
}

bool HttpTlsConnection::moveOut()
{
    HttpOutput &output = m_conversation.output();
    if (output.isEmpty() || m_socket->bytesToWrite() + m_socket->encryptedBytesToWrite() >= kTlsPiece) {
        return false;
    }
    if (OutBuffer &bytes = output.bytes(); !bytes.isEmpty()) {
        const int count = std::min(bytes.size(), kTlsPiece);
        m_socket->write(bytes.data(), count);
        bytes.consume(count);
    } else {
        char piece[kTlsPiece];
        const auto wanted = static_cast<size_t>(std::min<qint64>(output.fileBytes(), kTlsPiece));
        const ssize_t count = ::pread(output.file(), piece, wanted, output.fileOffset());
        if (count <= 0) { // it has become shorter: the client must not take this for the whole
            m_conversation.drop();
            m_socket->abort();
            return false;
        }
        m_socket->write(piece, count);
        output.consumeFile(count);
    }
    m_conversation.sent(linkClockMs());
    return true;
}

void HttpTlsConnection::tick()
{
    const qint64 nowMs = linkClockMs();
    const bool hasLingered = m_lingersUntilMs > 0 && nowMs >= m_lingersUntilMs;
    if (hasLingered || m_place->isGivenUp || m_conversation.isTimedOut(nowMs)) {
        if (!hasLingered) {
            qDebug("HttpConnectionHandler (%p): read timeout occured", static_cast<void *>(this));
        }
        m_socket->abort();
        deleteLater();
        return;
    }
    const bool isHandshaking = !m_socket->isEncrypted() && nowMs - m_beganMs >= m_service.settings.stallAfterMs;
    m_place->setStalling(isHandshaking || m_conversation.isStalling(nowMs));
}

HttpTlsThreads::HttpTlsThreads(const QSslConfiguration &configuration, const HttpService &service, int threads)
    : m_configuration(configuration)
    , m_service(service)
    , m_briefly(briefly(service.settings))
    , m_noPlace(std::make_unique<NoPlace>())
{
    for (int count = 0; count < threads; ++count) {
        Lane lane{ std::make_unique<QThread>(), new QObject };
        lane.connections->moveToThread(lane.thread.get());
        QObject::connect(lane.thread.get(), &QThread::finished, lane.connections, &QObject::deleteLater);
        lane.thread->start();
        m_lanes.push_back(std::move(lane));
    }
}

HttpTlsThreads::~HttpTlsThreads()
{
    for (Lane &lane : m_lanes) {
        lane.thread->quit();
        lane.thread->wait();
    }
}

template <class Make>
void HttpTlsThreads::onSomeLane(Make make)
{
    QObject *const connections = m_lanes[m_next++ % m_lanes.size()].connections;
    QMetaObject::invokeMethod(
        connections, [make, connections] { make(connections); }, Qt::QueuedConnection);
}

void HttpTlsThreads::accept(HttpConnectionHandlerPool::Newcomer client)
{
    auto place = std::make_shared<HttpTlsConnection::Place>(client.address, linkClockMs());
    m_service.pool.add(place);
    onSomeLane([this, socket = shared(std::move(client.socket)), place](QObject *connections) {
        new HttpTlsConnection(std::move(*socket), m_configuration, m_service, place, connections);
    });
}

void HttpTlsThreads::turnAway(Descriptor socket, std::atomic<int> &count)
{
    ++count;
    onSomeLane([this, socket = shared(std::move(socket)), &count](QObject *connections) {
        const HttpService service{ m_briefly, *m_noPlace, m_service.pool };
        auto place = std::make_shared<HttpTlsConnection::Place>(QString(), linkClockMs()); // of none in the pool
        auto *const connection =
            new HttpTlsConnection(std::move(*socket), m_configuration, service, place, connections);
        QObject::connect(connection, &QObject::destroyed, connections, [&count] { --count; });
    });
}

std::optional<QSslConfiguration> HttpTlsThreads::configure(const HttpSettings &settings, QString &problem)
{
    const auto refuse = [&](const QString &why) {
        problem = translated(QT_TRANSLATE_NOOP("messages", "The web server is not encrypted: cannot use %1 and %2: %3"))
                      .arg(settings.sslKeyFile, settings.sslCertFile, why);
        return std::nullopt;
    };
    QString unreadable;
    const QByteArray keyPem = contentOf(settings.sslKeyFile, unreadable);
    const QByteArray certificatePem = contentOf(settings.sslCertFile, unreadable);
    if (!unreadable.isEmpty()) {
        return refuse(unreadable);
    }
    const QSslKey key = readKey(keyPem);
    const QList<QSslCertificate> certificates = QSslCertificate::fromData(certificatePem, QSsl::Pem);
    if (key.isNull()) {
        return refuse(translated(QT_TRANSLATE_NOOP("messages", "the key is none of RSA or EC without a password")));
    }
    if (certificates.isEmpty() || !QSslSocket::supportsSsl()) {
        return refuse(translated(QT_TRANSLATE_NOOP("messages", "there is no certificate")));
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setPrivateKey(key);
    configuration.setLocalCertificateChain(certificates);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone); // clients have no certificates
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    if (const QString fault = faultOf(configuration); !fault.isEmpty()) {
        return refuse(fault);
    }
    return configuration;
}
