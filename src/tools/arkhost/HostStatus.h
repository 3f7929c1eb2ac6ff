#pragma once
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// What a supervisor tells about itself and its controller.
struct HostStatus
{
    enum class State { Running, Waiting, Ending }; // Waiting: for the next start

    struct LastEnd
    {
        QString at; // local time with the offset, ISO 8601
        QString reason;
        qint64 uptimeSeconds = 0;
    };

    State state = State::Waiting;
    qint64 processId = 0; // of the controller; 0: there is none
    qint64 uptimeSeconds = 0;
    int starts = 0;
    int crashes = 0;
    std::optional<LastEnd> lastEnd;
    std::optional<double> nextStartInSeconds; // while Waiting
    QStringList leds;                         // names of those that are on
    qint64 supervisorId = 0;
    qint64 supervisorUptimeSeconds = 0;

    bool isRunning() const { return state == State::Running; }
};

namespace HostStatusText {
QByteArray json(const HostStatus &status); // one line, without its end

/// Nothing when it is no status.
std::optional<HostStatus> fromJson(const QByteArray &json);

QString lines(const HostStatus &status); // for people, each with its end
QString line(const HostStatus &status);  // the short form, for the bottom of a terminal
} // namespace HostStatusText
