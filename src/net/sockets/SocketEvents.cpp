#include "net/sockets/SocketEvents.h"

#include "base/Messages.h"
#include "base/Monitor.h"
#include "events/Dispatcher.h"
#include "net/sockets/SocketErrors.h"
#include "program/AST.h"

namespace {
CustomEvent eventOf(EventType type, int localPort)
{
    CustomEvent event;
    event.type = type;
    event.device = { 0, localPort, 0 };
    return event;
}

DataFields fieldsOf(const SocketPeer &peer, const QByteArray &text = QByteArray())
{
    DataFields fields;
    fields.text = text;
    fields.sourceIp = peer.address;
    fields.sourcePort = peer.port;
    return fields;
}

void inform(AST &program, MonitorMessageType type, const QString &text)
{
    Q_EMIT program.info(static_cast<int>(type), text);
}
} // namespace

SocketEvents::SocketEvents(AST &program, Dispatcher &dispatcher)
    : m_program(&program)
    , m_dispatcher(&dispatcher)
{}

void SocketEvents::stop()
{
    m_program = nullptr;
    m_dispatcher = nullptr;
}

void SocketEvents::online(int localPort, const SocketPeer &peer)
{
    if (!m_program) {
        return;
    }
    inform(*m_program, MonitorMessageType::System,
           translated(QT_TRANSLATE_NOOP("messages", "Online Event: Device 0:%1:0 online")).arg(localPort));
    m_dispatcher->raiseData(eventOf(EventType::Online, localPort), fieldsOf(peer));
}

void SocketEvents::offline(int localPort, const SocketPeer &peer)
{
    if (!m_program) {
        return;
    }
    inform(*m_program, MonitorMessageType::System,
           translated(QT_TRANSLATE_NOOP("messages", "Offline Event: Device 0:%1:0 offline")).arg(localPort));
    m_dispatcher->raiseData(eventOf(EventType::Offline, localPort), fieldsOf(peer));
}

void SocketEvents::data(int localPort, const QByteArray &bytes, const SocketPeer &peer)
{
    if (!m_program) {
        return;
    }
    if (isMonitored()) {
        inform(*m_program, MonitorMessageType::Received,
               translated(QT_TRANSLATE_NOOP("messages", "got socket data: device is 0:%1:0 and data is %2"))
                   .arg(QString::number(localPort), printableOrHex(bytes)));
    }
    CustomEvent event = eventOf(EventType::String, localPort);
    event.data = bytes;
    m_dispatcher->raiseData(event, fieldsOf(peer, bytes));
}

void SocketEvents::error(int localPort, int number, const QString &farEnd)
{
    if (!m_program) {
        return;
    }
    m_program->reportWarning(
        translated(QT_TRANSLATE_NOOP("messages", "Device 0:%1:0 error event occured")).arg(localPort) +
        QStringLiteral(": %1, %2 (%3)").arg(farEnd, socketErrorText(number), QString::number(number)));
    CustomEvent event = eventOf(EventType::Error, localPort);
    event.errorCode = number;
    m_dispatcher->raiseData(event, {});
}

void SocketEvents::refusedAddress(int localPort)
{
    if (!m_program) {
        return;
    }
    CustomEvent event = eventOf(EventType::Error, localPort);
    event.errorCode = QAbstractSocket::SocketResourceError;
    m_dispatcher->raiseData(event, {});
}
