#include "tools/arkhost/Supervisor.h"

#include "tools/arkhost/ControllerArguments.h"

#include <QCoreApplication>
#include <QDateTime>

#include <csignal>

namespace {
constexpr int kUsageStatus = 2;    // the controller refuses its arguments: starting it again is no use
constexpr int kKillAfterMs = 5000; // of a controller that was asked to end
constexpr int kRedrawMs = 50;
constexpr int kSecondMs = 1000;
constexpr double kMsPerSecond = 1000;
} // namespace

Supervisor::Supervisor(const Setup &setup)
    : m_setup(setup)
    , m_display(setup.form)
    , m_reports(setup.reports, setup.keptReports)
    , m_socket({ [this](qint64 process) { return m_controller.hasInGroup(process); },
                 [this] { return HostStatusText::json(status()); } },
               setup.portFrames)
    , m_life(setup.watchdogMs)
{
    m_clock.start();
    m_nextStart.setSingleShot(true);
    m_nextStart.setTimerType(Qt::PreciseTimer);
    m_redraw.setSingleShot(true);
    m_controller.setStandardInputFile(QProcess::nullDevice());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    m_life.addTo(environment);
    m_controller.setProcessEnvironment(environment);
    connect(&m_life, &LifeSigns::missed, this, &Supervisor::controllerHangs);
    connect(&m_nextStart, &QTimer::timeout, this, &Supervisor::startController);
    connect(&m_redraw, &QTimer::timeout, this, &Supervisor::showStatus);
    connect(&m_second, &QTimer::timeout, this, &Supervisor::showStatus);
    connect(&m_socket, &HostSocket::ledChanged, this, &Supervisor::showLed);
    connect(&m_socket, &HostSocket::controllerLeft, this, [this] { m_leds.allOff(); });
    connect(&m_socket, &HostSocket::portFrame, this, [this](const QByteArray &frame) {
        m_display.say(QStringLiteral("port frame %1").arg(QString::fromLatin1(frame.toHex(' '))));
    });
    connect(&m_controller, &QProcess::readyReadStandardOutput, this, &Supervisor::takeOutput);
    connect(&m_controller, &QProcess::readyReadStandardError, this, &Supervisor::takeOutput);
    connect(&m_controller, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &Supervisor::controllerEnded);
    connect(&m_controller, &QProcess::errorOccurred, this, &Supervisor::controllerFailed);
}

HostStatus Supervisor::status() const
{
    const bool isRunning = m_controller.state() != QProcess::NotRunning;
    HostStatus status;
    status.state = m_isEnding  ? HostStatus::State::Ending
                   : isRunning ? HostStatus::State::Running
                               : HostStatus::State::Waiting;
    status.processId = m_controller.processId();
    status.uptimeSeconds = isRunning ? uptimeMs() / kSecondMs : 0;
    status.starts = m_starts;
    status.crashes = m_crashes;
    status.lastEnd = m_lastEnd;
    if (m_nextStart.isActive()) {
        status.nextStartInSeconds = m_nextStart.remainingTime() / kMsPerSecond;
    }
    status.leds = m_leds.namesOfThoseOn();
    status.supervisorId = QCoreApplication::applicationPid();
    status.supervisorUptimeSeconds = m_clock.elapsed() / kSecondMs;
    return status;
}

std::optional<QString> Supervisor::start()
{
    if (std::optional<QString> problem = m_socket.listen()) {
        return problem;
    }
    startController();
    if (m_display.hasStatusLine()) {
        m_second.start(kSecondMs);
    }
    return std::nullopt;
}

void Supervisor::end()
{
    if (m_controller.state() == QProcess::NotRunning) {
        m_isEnding = true;
        m_nextStart.stop();
        Q_EMIT ended(0);
        return;
    }
    if (m_isEnding) { // asked again
        m_controller.killGroup();
        return;
    }
    m_isEnding = true;
    m_controller.terminate();
    QTimer::singleShot(kKillAfterMs, &m_controller, &ChildController::killGroup);
    showStatus();
}

void Supervisor::startController()
{
    m_startedAtMs = m_clock.elapsed();
    m_pauses.started(m_startedAtMs);
    m_tail.clear();
    ++m_starts;
    m_controller.start(m_setup.controller, m_setup.arguments);
    m_processId = m_controller.processId();
    m_life.controllerStarted();
    showStatus();
}

void Supervisor::takeOutput()
{
    const QByteArray output = m_controller.readAllStandardOutput();
    m_tail.take(output);
    m_display.showOutput(output);
    const QByteArray errors = m_controller.readAllStandardError();
    m_tail.take(errors);
    m_display.showErrors(errors);
}

void Supervisor::controllerEnded(int status, QProcess::ExitStatus how)
{
    takeOutput();
    m_life.controllerEnded();
    ControllerEnd end = ControllerEnd::of(status, how);
    end.silentMs = m_life.isMissed() ? m_life.limitMs() : 0;
    recordEnd(end.reason());
    if (m_isEnding) {
        Q_EMIT ended(0);
    } else if (end.isWrongUse() && m_starts == 1) { // later it is something else, a port that is still taken
        Q_EMIT ended(kUsageStatus);
    } else if (end.isInOrder()) {
        afterOrderlyEnd(end);
    } else {
        afterCrash(end);
    }
}

void Supervisor::controllerHangs()
{
    m_controller.signal(SIGABRT); // as systemd does: where core files are wanted, this leaves one
    const qint64 process = m_controller.processId();
    QTimer::singleShot(kKillAfterMs, this, [this, process] {
        if (m_controller.processId() == process) { // stopped, or held by the system
            m_controller.killGroup();
        }
    });
}

void Supervisor::controllerFailed(QProcess::ProcessError error)
{
    if (error != QProcess::FailedToStart) { // every other failure is followed by the end of the process
        return;
    }
    const QString problem = QStringLiteral("Cannot start %1: %2").arg(m_setup.controller, m_controller.errorString());
    if (m_isEnding || m_starts == 1) {
        m_display.showErrors(problem.toLocal8Bit() + '\n');
        Q_EMIT ended(m_isEnding ? 0 : kUsageStatus);
        return;
    }
    // It did start before: it is being replaced just now, or the machine is out of something.
    recordEnd(m_controller.errorString());
    const qint64 pauseMs = m_pauses.pauseMs(RestartPauses::End::Crash, m_clock.elapsed());
    m_display.say(QStringLiteral("%1. It is tried again in %2.").arg(problem, secondsText(pauseMs)));
    startLater(pauseMs);
}

void Supervisor::recordEnd(const QString &reason)
{
    const QDateTime now = QDateTime::currentDateTime();
    m_lastEnd = HostStatus::LastEnd{ now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODate), reason,
                                     uptimeMs() / kSecondMs };
}

void Supervisor::afterOrderlyEnd(const ControllerEnd &end)
{
    const qint64 pauseMs = m_pauses.pauseMs(RestartPauses::End::InOrder, m_clock.elapsed());
    const QString when = pauseMs > 0 ? QStringLiteral(" in ") + secondsText(pauseMs) : QString();
    m_display.say(
        QStringLiteral("The controller has ended with status %1 and is started again%2.").arg(end.number).arg(when));
    startLater(pauseMs);
}

void Supervisor::afterCrash(const ControllerEnd &end)
{
    ++m_crashes;
    const qint64 pauseMs = m_pauses.pauseMs(RestartPauses::End::Crash, m_clock.elapsed());
    startLater(pauseMs); // before the report, which may take a while
    m_display.say(QStringLiteral("The controller has crashed: %1, after %2. It is started again in %3.")
                      .arg(end.reason(), timeText(uptimeMs() / kSecondMs), secondsText(pauseMs)));
    m_display.say(reportCrash(end, pauseMs));
}

void Supervisor::startLater(qint64 pauseMs)
{
    m_nextStart.start(static_cast<int>(pauseMs));
    showStatus();
}

QString Supervisor::reportCrash(const ControllerEnd &end, qint64 pauseMs)
{
    CrashReport report;
    report.at = QDateTime::currentDateTime();
    report.end = end;
    report.uptimeSeconds = uptimeMs() / kSecondMs;
    report.pauseMs = pauseMs;
    report.starts = m_starts;
    report.crashes = m_crashes;
    report.processId = m_processId;
    report.version = m_setup.version;
    report.controller = m_setup.controller;
    report.arguments = m_setup.arguments;
    report.objectFile = ControllerArguments::objectFile(m_setup.arguments);
    report.lastLines = m_tail.lines();
    const CrashReports::Outcome outcome = m_reports.write(report);
    return outcome.problem.isEmpty()
               ? QStringLiteral("Crash report: %1").arg(outcome.path)
               : QStringLiteral("The crash report %1 cannot be written: %2").arg(outcome.path, outcome.problem);
}

void Supervisor::showLed(int led, bool on)
{
    m_leds.set(led, on);
    if (!m_display.hasStatusLine()) {
        m_display.say(QStringLiteral("LED %1 %2").arg(led).arg(on ? QLatin1String("on") : QLatin1String("off")));
    } else if (!m_redraw.isActive()) {
        m_redraw.start(kRedrawMs);
    }
}

void Supervisor::showStatus()
{
    if (m_display.hasStatusLine()) {
        m_display.showStatus(HostStatusText::line(status()) + QStringLiteral("  ") + m_leds.takeLine());
    }
}
