#include "devices/frames/PortLink.h"

#include "base/Messages.h"
#include "base/Monitor.h"
#include "base/Overloaded.h"

#include <QPointer>
#include <QTimer>

PortLink::PortLink(const QString &deviceFile, PortsThread &thread, Backlog &backlog)
    : m_line(new PortLine(QStringLiteral("portLink"), deviceFile, PortLine::Input::Always, thread, backlog, this))
    , m_stalled(new QTimer(this))
{
    m_stalled->setSingleShot(true);
    m_stalled->setInterval(kStalledMs);
    connect(m_stalled, &QTimer::timeout, this, [this] { take(m_parser.giveUp()); });
    connect(m_line, &PortLine::received, this, [this](const QByteArray &data) { take(m_parser.feed(data)); });
    connect(m_line, &PortLine::openChanged, this, [this](bool isOpen) {
        if (isOpen && m_wasAway) {
            tellAgain();
        }
        m_wasAway = !isOpen;
    });
}

void PortLink::close(int timeoutMs)
{
    if (health().isOpen()) {
        FramedPorts::close(timeoutMs);
    }
}

void PortLink::setUpSerial(int port, const SerialSetup &setup)
{
    m_setups[port] = setup;
    FramedPorts::setUpSerial(port, setup);
}

void PortLink::switchRelay(int relay, bool isOn)
{
    m_relays[relay] = isOn;
    m_told.erase(relay);
    FramedPorts::switchRelay(relay, isOn);
}

void PortLink::switchIo(int number, bool isOn)
{
    m_outputs[number] = isOn;
    FramedPorts::switchIo(number, isOn);
}

void PortLink::take(const QByteArrayList &frames)
{
    const QPointer<PortLink> self(this); // a handler may let in what takes the board away
    for (const QByteArray &frame : frames) {
        if (const auto told = PortFrames::parse(frame)) {
            takeTold(*told);
        }
        if (!self) {
            return;
        }
    }
    if (m_parser.isWithinFrame()) {
        m_stalled->start();
    } else {
        m_stalled->stop();
    }
}

void PortLink::takeTold(const PortFrames::Told &told)
{
    using namespace PortFrames;
    const Overloaded takers{
        [this](const Received &received) { Q_EMIT serialReceived(received.port, received.data); },
        [this](const IoState &state) { Q_EMIT ioChanged(state.number, state.isOn); },
        [this](const IrLearned &learned) { Q_EMIT irLearned(learned.number, learned.code); },
        [this](const RelayState &state) {
            // Switched by hand, or broken. Not switched back: a hand at the board is there for a reason.
            const auto wanted = m_relays.find(state.relay);
            if (wanted != m_relays.end() && wanted->second != state.isOn && m_told.insert(state.relay).second) {
                monitorLog(MonitorMessageType::Warning,
                           translated(QT_TRANSLATE_NOOP("messages", "Warning:Relay %1 is not as it was switched"))
                               .arg(state.relay));
            }
        },
        [this](const Started &) { tellAgain(); },
    };
    std::visit(takers, told);
}

void PortLink::tellAgain()
{
    for (const auto &[port, setup] : m_setups) {
        FramedPorts::setUpSerial(port, setup);
    }
    for (const auto &[relay, isOn] : m_relays) {
        FramedPorts::switchRelay(relay, isOn);
    }
    for (const auto &[number, isOn] : m_outputs) {
        FramedPorts::switchIo(number, isOn);
    }
}

void PortLink::write(const QByteArray &frame)
{
    m_line->write(PortFrames::onPortLink(frame));
}

void PortLink::finishWriting(int timeoutMs)
{
    m_line->finishWriting(timeoutMs);
}
