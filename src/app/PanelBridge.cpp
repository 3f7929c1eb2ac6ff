#include "app/PanelBridge.h"

#include "devices/DeviceManager.h"
#include "events/Events.h"
#include "runtime/ControlProgram.h"

#include <QCoreApplication>

#include <chrono>
#include <utility>

PanelBridge::PanelBridge(DeviceManager &devices)
    : m_devices(devices)
    , m_bell([this] { deliver(Turn::Millisecond); })
{}

PanelBridge::~PanelBridge() = default;

void PanelBridge::setProgram(ControlProgram *program)
{
    if (m_program) {
        m_program->dispatcher().beforeStatement = nullptr;
    }
    m_program = program;
    std::deque<std::unique_ptr<PanelEvent>> dropped; // outside the lock: connections hear of it
    m_next.clear();
    if (program) {
        program->dispatcher().beforeStatement = [this] { deliver(Turn::AllThatCame); };
    }
    const std::lock_guard lock(m_waitingMutex);
    m_isTaken = program != nullptr;
    dropped.swap(m_waiting);
}

void PanelBridge::buttonPressed(quint16 device, int channel, UntilHandled untilHandled)
{
    post(PanelEvent::Pressed, device, channel, 0, std::move(untilHandled));
}

void PanelBridge::buttonReleased(quint16 device, int channel, UntilHandled untilHandled)
{
    post(PanelEvent::Released, device, channel, 0, std::move(untilHandled));
}

void PanelBridge::levelChanged(quint16 device, int level, int value, UntilHandled untilHandled)
{
    post(PanelEvent::LevelChanged, device, level, value, std::move(untilHandled));
}

bool PanelBridge::isFull() const
{
    constexpr int kMostWaiting = 20000; // some 3 MB; a room's panels together push a few times a second
    return PanelEvent::waiting() >= kMostWaiting;
}

void PanelBridge::panelAnswered(int deviceId, const PanelQuestion &question, const QVariant &value)
{
    Q_EMIT m_devices.panelAnswered(deviceId, question, value);
}

void PanelBridge::queryIRCode(int number)
{
    m_devices.queryIRCode(number);
}

QByteArray PanelBridge::buttonStatusSnapshot(int deviceId)
{
    if (!m_program || !m_program->tree().declaresDevice(deviceId)) {
        return {};
    }
    const ButtonStatusSaver *saver = m_program->dispatcher().findButtonStatus(deviceId);
    return saver ? saver->snapshot() : QByteArray();
}

void PanelBridge::peerOnline(int deviceId)
{
    if (m_program) {
        CustomEvent event;
        event.type = EventType::Online;
        event.device = { deviceId, 1, 0 };
        m_program->dispatcher().raiseData(event, {});
    }
}

void PanelBridge::peerOffline(int deviceId)
{
    if (m_program && m_program->tree().declaresDevice(deviceId)) {
        CustomEvent event;
        event.type = EventType::Offline;
        event.device = { deviceId, 1, 0 };
        m_program->dispatcher().raiseData(event, {});
    }
}

void PanelBridge::post(int kind, quint16 device, int code, int value, UntilHandled untilHandled)
{
    {
        const std::lock_guard lock(m_waitingMutex);
        if (!m_isTaken) {
            return;
        }
        m_waiting.push_back(std::make_unique<PanelEvent>(static_cast<PanelEvent::Kind>(kind), device, code, value,
                                                         std::move(untilHandled)));
        if (std::exchange(m_isRinging, true)) {
            return;
        }
    }
    m_bell.ring(); // without the lock, which the main thread asks for at once
}

void PanelBridge::deliver(Turn turn)
{
    using std::chrono::steady_clock;
    const steady_clock::time_point until = steady_clock::now() + std::chrono::milliseconds(1);
    while (const std::unique_ptr<PanelEvent> event = takeNext()) {
        QCoreApplication::sendEvent(&m_program->dispatcher(), event.get());
        if (turn == Turn::Millisecond && steady_clock::now() >= until) {
            return;
        }
    }
}

std::unique_ptr<PanelEvent> PanelBridge::takeNext()
{
    if (m_next.empty()) {
        const std::lock_guard lock(m_waitingMutex);
        m_next.swap(m_waiting);
        if (m_next.empty()) {
            m_isRinging = false;
            m_bell.hush();
            return nullptr;
        }
    }
    std::unique_ptr<PanelEvent> event = std::move(m_next.front());
    m_next.pop_front();
    return event;
}
