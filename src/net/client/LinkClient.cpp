#include "net/client/LinkClient.h"
#include "net/link/LinkCodes.h"
#include <QTcpSocket>
#include <QTimer>

namespace {
constexpr int kTickMs = 200;
constexpr int kTicksPerHeartbeat = 5;
constexpr qint64 kReadBytes = 65536; // a turn; what is answered then leaves before the rest is read

QByteArray joined(std::initializer_list<QByteArray> parts)
{
    QByteArray whole;
    for (const QByteArray &part : parts) {
        whole += whole.isNull() ? part : ':' + part;
    }
    return whole;
}

QByteArray decimal(int number)
{
    return QByteArray::number(number);
}

bool isAcknowledged(quint8 code)
{
    switch (code) {
    case LinkCode::kChannelStatus:
    case LinkCode::kListStatus:
    case LinkCode::kLevel:
    case LinkCode::kCommand:
    case LinkCode::kSetProperty:
    case LinkCode::kSetStateProperty:
    case LinkCode::kSetPageProperty:
    case LinkCode::kSetContainerProperty:
    case LinkCode::kContainerCall:
    case LinkCode::kController:
        return true;
    default:
        return false;
    }
}
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
    m_parser = FrameParser();
    m_pending.clear();
    m_received = DuplicateFilter();
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
    return sendMessage(LinkCode::kPush, joined({ decimal(m_identity.deviceNumber), decimal(channel), "0" }));
}

quint32 LinkClient::release(int channel)
{
    return sendMessage(LinkCode::kRelease, joined({ decimal(m_identity.deviceNumber), decimal(channel), "0" }));
}

quint32 LinkClient::reportLevel(int level, int value)
{
    return sendMessage(LinkCode::kLevelReport,
                       joined({ decimal(m_identity.deviceNumber), "0", decimal(level), decimal(value) }));
}

quint32 LinkClient::sendMessage(quint8 code, const QByteArray &body)
{
    if (++m_lastMessageId == 0) {
        m_lastMessageId = 1;
    }
    const QByteArray frame = messageFrameBytes(code, m_lastMessageId, body);
    m_pending.add(m_lastMessageId, frame, m_clock.elapsed());
    m_socket->write(frame);
    return m_lastMessageId;
}

void LinkClient::answerStatus(int channel, int status)
{
    sendPlain(LinkCode::kStatusReply, joined({ decimal(m_identity.deviceNumber), decimal(channel), decimal(status) }));
}

void LinkClient::answerText(int channel, int state, const QByteArray &text)
{
    sendPlain(LinkCode::kButtonTextReply, joined({ "text", decimal(channel), decimal(state), text }));
}

void LinkClient::answerProperty(int channel, const QByteArray &name, const QByteArray &value)
{
    sendPlain(LinkCode::kPropertyReply, joined({ "property", decimal(channel), name, value }));
}

void LinkClient::answerStateProperty(int channel, int state, const QByteArray &name, const QByteArray &value)
{
    sendPlain(LinkCode::kStatePropertyReply,
              joined({ "stateproperty", decimal(channel), decimal(state), name, value }));
}

void LinkClient::answerPageProperty(const QByteArray &page, const QByteArray &name, const QByteArray &value)
{
    sendPlain(LinkCode::kPagePropertyReply, joined({ "pageproperty", page, name, value }));
}

void LinkClient::sendTextCommand(const QByteArray &text)
{
    sendPlain(LinkCode::kTextCommand, text);
}

void LinkClient::sendPlain(quint8 code, const QByteArray &body)
{
    m_socket->write(frameBytes(code, body));
}

void LinkClient::sendFrames(const QByteArray &frames)
{
    m_socket->write(frames);
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
    const std::vector<Frame> frames = m_parser.feed(bytes);
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
        sendPlain(LinkCode::kHandshake, joined({ decimal(m_identity.type), decimal(m_identity.deviceNumber),
                                                 m_identity.name, m_identity.version }));
        if (!m_isIntroduced) {
            m_isIntroduced = true;
            Q_EMIT introduced();
        }
        return;
    case LinkCode::kHeartbeatAnswer:
        return;
    case LinkCode::kAcknowledgement:
        if (const auto id = messageIdOf(frame.body); id && m_pending.acknowledge(*id)) {
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
    if (!isAcknowledged(frame.code)) {
        Q_EMIT received(decodeLinkMessage(frame.code, frame.body));
        return;
    }
    if (const auto id = messageIdOf(frame.body)) {
        constexpr int idSize = sizeof *id;
        sendPlain(LinkCode::kAcknowledgement, frame.body.left(idSize));
        if (m_received.isNew(*id, m_clock.elapsed())) {
            Q_EMIT received(decodeLinkMessage(frame.code, frame.body.mid(idSize)));
        }
    }
}

void LinkClient::tick()
{
    if (m_sendsHeartbeats && m_ticks++ % kTicksPerHeartbeat == 0) {
        sendPlain(LinkCode::kHeartbeat, QByteArray());
    }
    if (const int count = m_pending.forgetOld(m_clock.elapsed()); count > 0) {
        Q_EMIT abandoned(count);
    }
    if (const QByteArray due = m_pending.dueFrames(m_clock.elapsed()); !due.isEmpty()) {
        m_socket->write(due);
    }
}
