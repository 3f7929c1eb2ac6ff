#include "admin/SerialPortWorker.h"
#include "admin/SettingManager.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "base/Overloaded.h"
#include "devices/SerialLine.h"
#include "io/IoLoop.h"
#include "net/link/LinkCodes.h"
#include <QDateTime>
#include <QDebug>
#include <QTimer>

namespace {
constexpr int kReplyMs = 2000; // a change that ends the process waits so long for its reply to leave
constexpr qint64 kMaxWaitingBytes = 1024LL * 1024; // for a tool that does not read; more is not sent
} // namespace

SerialPortWorker::SerialPortWorker(const QString &deviceFile, const SettingManager &settings, Actions actions,
                                   TransferFiles &files, const TransferTimes &times)
    : m_deviceFile(deviceFile)
    , m_settings(settings)
    , m_actions(std::move(actions))
    , m_transfers(files, times, TransferVia::Console)
    , m_parser(kMaxPayload)
{}

SerialPortWorker::~SerialPortWorker() = default;

void SerialPortWorker::start()
{
    m_line = new SerialLine(m_deviceFile, this);
    connect(m_line, &SerialLine::readyRead, this, &SerialPortWorker::readAvailable);
    connect(m_line, &SerialLine::failed, this, &SerialPortWorker::complain);
    connect(m_line, &SerialLine::lost, this, [this] {
        m_transfers.cancel();
        m_parser = FrameParser(kMaxPayload);
    });
    m_timer = new QTimer(this);
    connect(m_timer, &QTimer::timeout, this, &SerialPortWorker::tick);
    m_timer->start(kTickMs);
    if (const std::optional<QString> reason = m_line->open()) {
        complain(*reason);
    }
}

void SerialPortWorker::complain(const QString &reason) const
{
    const QString text =
        translated(QT_TRANSLATE_NOOP("messages", "Cannot open the console port %1: %2")).arg(m_deviceFile, reason);
    qWarning().noquote() << text;
    monitorLog(MonitorMessageType::Error, text);
}

void SerialPortWorker::readAvailable()
{
    const qint64 nowMs = linkClockMs();
    const QByteArray bytes = m_line->readAll();
    m_heardMs = nowMs;
    std::vector<Frame> frames;
    m_parser.feed(bytes.constData(), bytes.size(), frames);
    for (const Frame &frame : frames) {
        takeFrame(frame, nowMs);
    }
}

void SerialPortWorker::takeFrame(const Frame &frame, qint64 nowMs)
{
    if (frame.code == LinkCode::kCancelTransfer && frame.checksumOk) {
        m_transfers.cancel();
    } else if (m_transfers.isActive() || LinkCode::isTransfer(frame.code)) {
        QByteArray out;
        m_transfers.take(frame, nowMs, out);
        write(out);
    } else if (frame.code == LinkCode::kTextCommand && frame.checksumOk) {
        if (const std::optional<Console::Command> command = Console::parse(frame.body)) {
            perform(*command);
        }
    }
}

void SerialPortWorker::tick()
{
    const qint64 nowMs = linkClockMs();
    if (m_parser.isWithinFrame() && nowMs - m_heardMs >= kStalledMs) { // its length was damaged on the way
        m_parser = FrameParser(kMaxPayload);
    }
    QByteArray out;
    m_transfers.tick(nowMs, out);
    write(out);
}

void SerialPortWorker::perform(const Console::Command &command)
{
    using namespace Console;
    const Overloaded performers{
        [this](const QueryNetwork &) {
            const QStringList lines{ m_settings.currentIp(), m_settings.netmask(), m_settings.currentGateway(),
                                     m_settings.currentNameServer(), QString::number(m_settings.isDhcp() ? 0 : 1) };
            reply("network:" + lines.join(QLatin1Char('\n')).toUtf8());
        },
        [this](const SetNetwork &set) {
            reply("setnetwork");
            m_line->waitForBytesWritten(kReplyMs); // the process ends with what follows
            m_actions.setNetwork(set);
        },
        [this](const QuerySystemNumber &) { reply("sysnum:" + QByteArray::number(m_settings.systemNumber())); },
        [this](const SetSystemNumber &set) { replyUnless(m_actions.setSystemNumber(set.number), "setsysnum"); },
        [this](const QueryDateTime &) {
            const QString now = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
            reply("datetime:" + now.toLatin1());
        },
        [this](const SetDateTime &set) {
            reply("setdatetime");
            m_actions.setDateTime(set.text);
        },
        [this](const QueryMac &) { reply("mac:" + m_settings.currentMac().toUtf8()); },
        [this](const SetMac &set) { replyUnless(m_actions.setMac(set.mac), "setmac"); },
    };
    std::visit(performers, command);
}

void SerialPortWorker::reply(const QByteArray &text)
{
    write(frameBytes(LinkCode::kTextReply, text));
}

void SerialPortWorker::replyUnless(const Problem &problem, const QByteArray &text)
{
    reply(problem ? "failed:" + problem->toUtf8() : text);
    m_line->waitForBytesWritten(kReplyMs); // the process may be ending; it waits for this thread
}

void SerialPortWorker::write(const QByteArray &frames)
{
    if (!frames.isEmpty() && m_line->bytesToWrite() <= kMaxWaitingBytes) {
        m_line->write(frames);
    }
}
