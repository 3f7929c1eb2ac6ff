#include "net/client/LinkClient.h"
#include "net/link/LinkTable.h"
#include <QTcpSocket>
#include <QTimer>

namespace {
constexpr int kTickMs = 200;
constexpr int kTicksPerHeartbeat = 5;
constexpr qint64 kReadBytes = 65536; // a turn; what is answered then leaves before the rest is read
} // namespace

LinkClient::LinkClient(const Identity &identity, QObject *parent)
    : QObject(parent)
    , m_identity(identity)
    , m_socket(new QTcpSocket(this))
    , m_timer(new QTimer(this))
{
    m_clock.start();
    m_socket->setReadBufferSize(kReadBytes);
    m_timer->setInterval(kTickMs);
    connect(m_timer, &QTimer::timeout, this, &LinkClient::tick);
    connect(m_socket, &QTcpSocket::readyRead, this, &LinkClient::readAvailable);
    connect(m_socket, &QTcpSocket::connected, this, [this] {
        m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        m_isConnected = true;
        m_timer->start();
    });
    connect(m_socket, &QTcpSocket::disconnected, this, [this] {
        m_timer->stop();
        m_isIntroduced = false;
        m_isConnected = false;
        Q_EMIT disconnected();
    });
    connect(m_socket, &QTcpSocket::errorOccurred, this, [this] {
        if (m_socket->state() != QAbstractSocket::ConnectedState && !m_timer->isActive()) {
            Q_EMIT failed(m_socket->errorString());
        }
    });
}

LinkClient::~LinkClient()
{
    m_socket->disconnect(this); // the end of the connection is nobody's business any more
}

void LinkClient::connectTo(const QString &host, quint16 port)
{
    m_exchange = LinkExchange(m_exchange.lastMessageId());
    m_lastHeardMs = m_clock.elapsed();
    m_hasHeard = false;
    m_socket->connectToHost(host, port);
}

void LinkClient::close()
{
    m_socket->disconnectFromHost();
}

void LinkClient::abort()
{
    m_socket->abort();
}

quint32 LinkClient::push(int channel)
{
    return sendMessage(LinkCode::kPush, linkBody<LinkCode::kPush>(m_identity.deviceNumber, channel, 0));
}

quint32 LinkClient::release(int channel)
{
    return sendMessage(LinkCode::kRelease, linkBody<LinkCode::kRelease>(m_identity.deviceNumber, channel, 0));
}

quint32 LinkClient::reportLevel(int level, int value)
{
    return sendMessage(LinkCode::kLevelReport,
                       linkBody<LinkCode::kLevelReport>(m_identity.deviceNumber, 0, level, value));
}

quint32 LinkClient::sendMessage(quint8 code, const QByteArray &body)
{
    const quint32 id = m_exchange.sendMessage(code, body, m_clock.elapsed());
    flush();
    return id;
}

void LinkClient::answerStatus(int channel, int status)
{
    sendPlain(LinkCode::kStatusReply, linkBody<LinkCode::kStatusReply>(m_identity.deviceNumber, channel, status));
}

void LinkClient::answerText(int channel, int state, const QByteArray &text)
{
    sendPlain(LinkCode::kButtonTextReply, linkBody<LinkCode::kButtonTextReply>(channel, state, text));
}

void LinkClient::answerProperty(int channel, const QByteArray &name, const QByteArray &value)
{
    sendPlain(LinkCode::kPropertyReply, linkBody<LinkCode::kPropertyReply>(channel, name, value));
}

void LinkClient::answerStateProperty(int channel, int state, const QByteArray &name, const QByteArray &value)
{
    sendPlain(LinkCode::kStatePropertyReply, linkBody<LinkCode::kStatePropertyReply>(channel, state, name, value));
}

void LinkClient::answerPageProperty(const QByteArray &page, const QByteArray &name, const QByteArray &value)
{
    sendPlain(LinkCode::kPagePropertyReply, linkBody<LinkCode::kPagePropertyReply>(page, name, value));
}

void LinkClient::sendTextCommand(const QByteArray &text)
{
    sendPlain(LinkCode::kTextCommand, text);
}

void LinkClient::sendPlain(quint8 code, const QByteArray &body)
{
    m_exchange.sendPlain(code, body);
    flush();
}

void LinkClient::sendFrames(const QByteArray &frames)
{
    m_exchange.sendFrame(frames);
    flush();
}

void LinkClient::readAvailable()
{
    m_lastHeardMs = m_clock.elapsed();
    const QByteArray bytes = m_socket->readAll();
    static const QByteArray magic = QByteArrayLiteral("VQ");
    if (!m_hasHeard && !bytes.isEmpty() && !magic.startsWith(bytes.left(magic.size()))) {
        Q_EMIT heardStranger(bytes);
    }
    m_hasHeard = m_hasHeard || !bytes.isEmpty();
    // Taken out: who hears of one may connect anew.
    const std::vector<Frame> frames = std::move(m_exchange.cut(bytes.constData(), bytes.size()));
    for (const Frame &frame : frames) {
        if (frame.checksumOk) {
            takeFrame(frame);
        }
    }
}

void LinkClient::takeFrame(const Frame &frame)
{
    switch (frame.code) {
    case LinkCode::kIdentify:
        sendPlain(LinkCode::kHandshake, linkBody<LinkCode::kHandshake>(m_identity.type, m_identity.deviceNumber,
                                                                       m_identity.name, m_identity.version));
        if (!m_isIntroduced) {
            m_isIntroduced = true;
            Q_EMIT introduced();
        }
        return;
    case LinkCode::kHeartbeatAnswer:
        return;
    case LinkCode::kAcknowledgement:
        if (const std::optional<quint32> id = m_exchange.takeAcknowledgement(frame)) {
            Q_EMIT acknowledged(*id);
        }
        return;
    default:
        takeControllerFrame(frame);
        return;
    }
}

void LinkClient::takeControllerFrame(const Frame &frame)
{
    if (!isConfirmed<LinkMessageRow::To::Peer>(frame.code)) {
        Q_EMIT received(decodeLinkMessage(frame.code, frame.body));
        return;
    }
    const std::optional<QByteArray> body = m_exchange.takeMessage(frame, m_clock.elapsed());
    flush();
    if (body) {
        Q_EMIT received(decodeLinkMessage(frame.code, *body));
    }
}

void LinkClient::tick()
{
    if (m_ticks++ % kTicksPerHeartbeat == 0) {
        sendPlain(LinkCode::kHeartbeat, QByteArray());
    }
    if (const int count = m_exchange.forgetOld(m_clock.elapsed()); count > 0) {
        Q_EMIT abandoned(count);
    }
    m_exchange.sendAgain(m_clock.elapsed());
    flush();
}

void LinkClient::flush()
{
    if (OutBuffer &output = m_exchange.output(); !output.isEmpty()) {
        m_socket->write(output.data(), output.size());
        output.clear();
    }
}
