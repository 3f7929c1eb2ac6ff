#include "net/controllers/ControllerLinks.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include <QDataStream>

#include <algorithm>

namespace {
constexpr int kMaxBody = kMaxStreamPayload - 5; // of a message: without its code and id

std::optional<QHostAddress> targetIn(const QString &entry)
{
    QHostAddress address;
    const bool isIpv4 = address.setAddress(entry.trimmed()) && address.protocol() == QAbstractSocket::IPv4Protocol;
    const bool isOneHost = isIpv4 && address.toIPv4Address() != 0 && !address.isMulticast() && !address.isBroadcast();
    return isOneHost ? std::optional(address) : std::nullopt;
}

std::vector<QHostAddress> targetsIn(const QStringList &entries)
{
    std::vector<QHostAddress> targets;
    for (const QString &entry : entries) {
        const std::optional<QHostAddress> target = targetIn(entry);
        const bool isNew = target && std::find(targets.begin(), targets.end(), *target) == targets.end();
        if (isNew && targets.size() < ControllerLinks::kMaxTargets) {
            targets.push_back(*target);
        }
    }
    return targets;
}
} // namespace

ControllerLinks::ControllerLinks(const ListenerOptions &options, NextThread nextThread, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_nextThread(std::move(nextThread))
{}

ControllerLinks::~ControllerLinks()
{
    setAddresses({});
}

QStringList ControllerLinks::setAddresses(const QStringList &entries)
{
    std::vector<std::shared_ptr<DeviceListener>> former;
    former.swap(m_listeners);
    QStringList addresses;
    for (const QHostAddress &target : targetsIn(entries)) {
        const auto kept = std::find_if(former.begin(), former.end(),
                                       [&target](const auto &each) { return each && each->target() == target; });
        m_listeners.push_back(kept != former.end() ? std::move(*kept) : makeListener(target));
        addresses << target.toString();
    }
    for (const auto &gone : former) {
        if (gone) {
            gone->close();
        }
    }
    return addresses;
}

QByteArray ControllerLinks::statusStream() const
{
    std::vector<const DeviceListener *> highestFirst;
    std::transform(m_listeners.begin(), m_listeners.end(), std::back_inserter(highestFirst),
                   [](const auto &listener) { return listener.get(); });
    std::sort(highestFirst.begin(), highestFirst.end(), [](const DeviceListener *left, const DeviceListener *right) {
        return left->target().toIPv4Address() > right->target().toIPv4Address();
    });
    QByteArray status;
    QDataStream stream(&status, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_4);
    stream << static_cast<qint32>(highestFirst.size());
    for (const DeviceListener *listener : highestFirst) {
        stream << listener->target().toString() << static_cast<qint32>(listener->status());
    }
    return status;
}

void ControllerLinks::send(const QByteArray &body)
{
    if (body.size() > kMaxBody) {
        monitorLog(MonitorMessageType::Error,
                   translated(QT_TRANSLATE_NOOP("messages", "Error:Too long message for another controller")));
        return;
    }
    for (const auto &listener : m_listeners) {
        listener->send(body);
    }
}

std::shared_ptr<DeviceListener> ControllerLinks::makeListener(const QHostAddress &target)
{
    IoThread &thread = m_nextThread();
    const auto queue = [this](const std::shared_ptr<PausableReader> &from, TargetMessage &message) {
        const auto *data = std::get_if<TargetPortData>(&message);
        const bool isAnswer = std::holds_alternative<TargetPortStatus>(message);
        m_backlog.post(from, data ? data->data.size() : 0, isAnswer ? Backlog::Kind::Answer : Backlog::Kind::Request,
                       [this, message = std::move(message)] { Q_EMIT told(message); });
    };
    auto listener = std::make_shared<DeviceListener>(target, m_options, thread, m_backlog, queue);
    thread.add(listener);
    return listener;
}
