#include "tools/arkhost/HostStatus.h"

#include "tools/arkhost/ControllerEnd.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <iterator>

namespace {
// By HostStatus::State.
constexpr const char *kStateNames[] = { "running", "waiting", "ending" };
constexpr int kNameWidth = 12;

QString stateName(HostStatus::State state)
{
    return QString::fromLatin1(kStateNames[static_cast<int>(state)]);
}

std::optional<HostStatus::State> stateOf(const QString &name)
{
    for (size_t index = 0; index < std::size(kStateNames); ++index) {
        if (name == QLatin1String(kStateNames[index])) {
            return static_cast<HostStatus::State>(index);
        }
    }
    return std::nullopt;
}

qint64 number(const QJsonObject &object, const char *key)
{
    return static_cast<qint64>(object.value(QLatin1String(key)).toDouble());
}

QJsonValue lastEndJson(const std::optional<HostStatus::LastEnd> &end)
{
    if (!end) {
        return QJsonValue::Null;
    }
    return QJsonObject{ { QStringLiteral("at"), end->at },
                        { QStringLiteral("reason"), end->reason },
                        { QStringLiteral("uptimeSeconds"), end->uptimeSeconds } };
}

void row(QString &text, const char *name, const QString &value)
{
    text += QString::fromLatin1(name).leftJustified(kNameWidth) + value + QLatin1Char('\n');
}

QString pauseText(double seconds)
{
    return QStringLiteral("%1 s").arg(seconds, 0, 'f', 1);
}
} // namespace

QByteArray HostStatusText::json(const HostStatus &status)
{
    const QJsonObject object{
        { QStringLiteral("state"), stateName(status.state) },
        { QStringLiteral("pid"), status.processId ? QJsonValue(status.processId) : QJsonValue::Null },
        { QStringLiteral("uptimeSeconds"), status.uptimeSeconds },
        { QStringLiteral("starts"), status.starts },
        { QStringLiteral("crashes"), status.crashes },
        { QStringLiteral("lastEnd"), lastEndJson(status.lastEnd) },
        { QStringLiteral("nextStartInSeconds"),
          status.nextStartInSeconds ? QJsonValue(*status.nextStartInSeconds) : QJsonValue::Null },
        { QStringLiteral("leds"), QJsonArray::fromStringList(status.leds) },
        { QStringLiteral("supervisorPid"), status.supervisorId },
        { QStringLiteral("supervisorUptimeSeconds"), status.supervisorUptimeSeconds },
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<HostStatus> HostStatusText::fromJson(const QByteArray &json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    const auto state = stateOf(object.value(QLatin1String("state")).toString());
    if (!state) {
        return std::nullopt;
    }
    HostStatus status;
    status.state = *state;
    status.processId = number(object, "pid");
    status.uptimeSeconds = number(object, "uptimeSeconds");
    status.starts = static_cast<int>(number(object, "starts"));
    status.crashes = static_cast<int>(number(object, "crashes"));
    status.supervisorId = number(object, "supervisorPid");
    status.supervisorUptimeSeconds = number(object, "supervisorUptimeSeconds");
    if (const QJsonValue next = object.value(QLatin1String("nextStartInSeconds")); next.isDouble()) {
        status.nextStartInSeconds = next.toDouble();
    }
    if (const QJsonValue value = object.value(QLatin1String("lastEnd")); value.isObject()) {
        const QJsonObject end = value.toObject();
        status.lastEnd =
            HostStatus::LastEnd{ end.value(QLatin1String("at")).toString(),
                                 end.value(QLatin1String("reason")).toString(), number(end, "uptimeSeconds") };
    }
    for (const QJsonValue led : object.value(QLatin1String("leds")).toArray()) {
        status.leds << led.toString();
    }
    return status;
}

QString HostStatusText::lines(const HostStatus &status)
{
    QString text;
    row(text, "state", stateName(status.state));
    row(text, "process", status.processId ? QString::number(status.processId) : QStringLiteral("none"));
    row(text, "uptime", timeText(status.uptimeSeconds));
    row(text, "starts", QString::number(status.starts));
    row(text, "crashes", QString::number(status.crashes));
    if (const auto &end = status.lastEnd) {
        row(text, "last end",
            QStringLiteral("%1, %2, after %3").arg(end->reason, end->at, timeText(end->uptimeSeconds)));
    }
    if (status.nextStartInSeconds) {
        row(text, "next start", QStringLiteral("in ") + pauseText(*status.nextStartInSeconds));
    }
    row(text, "LEDs on", status.leds.isEmpty() ? QStringLiteral("none") : status.leds.join(QStringLiteral(", ")));
    row(text, "supervisor",
        QStringLiteral("%1, up %2").arg(status.supervisorId).arg(timeText(status.supervisorUptimeSeconds)));
    return text;
}

QString HostStatusText::line(const HostStatus &status)
{
    const QString when = status.nextStartInSeconds ? QStringLiteral("for %1").arg(pauseText(*status.nextStartInSeconds))
                                                   : timeText(status.uptimeSeconds);
    return QStringLiteral("%1 %2  starts %3  crashes %4")
        .arg(stateName(status.state), when)
        .arg(status.starts)
        .arg(status.crashes);
}
