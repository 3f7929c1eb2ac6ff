#include "net/controllers/DeviceListener.h"

DeviceListener::DeviceListener(const QHostAddress &target, const ListenerOptions &options, IoThread &thread,
                               const Backlog &backlog, Told told)
    : m_target(target)
    , m_options(options)
    , m_thread(thread)
    , m_backlog(backlog)
    , m_told(std::move(told))
{}

DeviceListener::Status DeviceListener::status() const
{
    const auto now = connection();
    if (!now || now->state() != ListenerConnection::State::Connected) {
        return Status::Unconnected;
    }
    return now->systemNumber() < 0 ? Status::Connected : Status::NumberKnown;
}

void DeviceListener::send(const QByteArray &body)
{
    if (const auto now = connection()) {
        now->send(body);
    }
}

void DeviceListener::close()
{
    const std::lock_guard lock(m_mutex);
    m_isClosed = true;
    if (m_connection) {
        m_connection->close();
        m_connection.reset();
    }
}

bool DeviceListener::tick(qint64 nowMs)
{
    const auto now = connection();
    const bool isConnected = now && now->state() == ListenerConnection::State::Connected;
    if (m_wasConnected && !isConnected) {
        m_connectAtMs = nowMs + kReconnectMs;
    }
    m_wasConnected = isConnected;
    const std::lock_guard lock(m_mutex);
    if (!m_isClosed && !isConnected && nowMs >= m_connectAtMs && !m_backlog.isFull()) {
        connectTarget(nowMs);
    }
    return !m_isClosed;
}

void DeviceListener::connectTarget(qint64 nowMs)
{
    m_connectAtMs = nowMs + kReconnectMs;
    if (m_connection) {
        m_connection->close(); // an attempt without an answer makes room for the next
    }
    m_connection = ListenerConnection::open(
        m_target, m_options, m_thread, [weak = weak_from_this()](ListenerConnection &from, TargetMessage &message) {
            if (const auto self = weak.lock()) {
                self->take(from, message);
            }
        });
}

void DeviceListener::take(ListenerConnection &from, TargetMessage &message)
{
    const std::lock_guard lock(m_mutex);
    if (!m_isClosed) {
        m_told(from.shared_from_this(), message);
    }
}

std::shared_ptr<ListenerConnection> DeviceListener::connection() const
{
    const std::lock_guard lock(m_mutex);
    return m_connection;
}
