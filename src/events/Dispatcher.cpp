#include "events/Dispatcher.h"

#include "base/Clock.h"
#include "base/Messages.h"
#include "events/EventData.h"
#include "events/EventTrace.h"
#include "events/HandlerTable.h"
#include "interp/LevelAssocManager.h"
#include "interp/nodes/Statements.h"
#include "interp/steps/BlockSteps.h"
#include "interp/steps/ChannelSteps.h"

#include <QCoreApplication>

#include <algorithm>

namespace {
constexpr int kExecStatementEvent = 1013;
constexpr int kMainlinePriority = -1; // below everything else that is posted
constexpr int kUnboundedBufferBytes = 64 * 1024;

/// One statement of the mainline on its way.
class ExecStatementEvent : public QEvent
{
public:
    explicit ExecStatementEvent(const Body *statement)
        : QEvent(static_cast<QEvent::Type>(kExecStatementEvent))
        , body(statement)
    {}
    const Body *const body;
};

/// Who has sent what this may be the answer to.
qint64 answeredBy(const Trace &trace, const CustomEvent &event)
{
    switch (event.type) {
    case EventType::String:
    case EventType::Online:
    case EventType::Offline:
    case EventType::Error:
        return trace.askerOf(event.device);
    default:
        return 0;
    }
}

bool isSameError(const CustomEvent &left, const CustomEvent &right)
{
    return left.type == EventType::Error && right.type == EventType::Error && left.device == right.device &&
           left.errorCode == right.errorCode;
}
} // namespace

Dispatcher::Dispatcher(Interpreter &interpreter, QObject *parent)
    : QObject(parent)
    , m_interpreter(interpreter)
    , m_program(interpreter.program())
    , m_state(interpreter.state())
{
    interpreter.setEvents(this);
}

Dispatcher::~Dispatcher()
{
    stopHold();
    m_interpreter.setEvents(nullptr);
}

void Dispatcher::prepare()
{
    m_handlers = std::make_unique<HandlerTable>(m_interpreter);
    const auto *mainline = as<StatementList>(m_program.mainlineBlock.get());
    if (!mainline) {
        return;
    }
    for (const auto &statement : mainline->statements) {
        if (statement) {
            m_mainline.push_back(m_interpreter.prepareBody(*statement, Name()));
        }
    }
}

void Dispatcher::press(int deviceNumber, int channel)
{
    m_state.trace().notePresence(deviceNumber, true); // its online event may be on its way
    releaseToItems();
    stopHold();
    m_heldDevice = deviceNumber;
    m_heldChannel = channel;
    m_holdTicket = Clock::instance().every(100, [this] { tickHold(); });
    CustomEvent event;
    event.type = EventType::Push;
    event.device = { deviceNumber, 1, 0 };
    event.channel = channel;
    raiseChannel(event);
}

void Dispatcher::release(int deviceNumber, int channel)
{
    m_state.trace().notePresence(deviceNumber, true); // its online event may be on its way
    releaseToItems();
    stopHold();
    m_heldDevice = deviceNumber;
    m_heldChannel = channel;
    CustomEvent event;
    event.type = EventType::Release;
    event.device = { deviceNumber, 1, 0 };
    event.channel = channel;
    raiseChannel(event);
}

void Dispatcher::changeLevel(int deviceNumber, int levelCode, int value)
{
    buttonStatus(deviceNumber).recordLevel(levelCode, value);
    const std::unique_ptr<StructType> data = makeLevelData(m_program, deviceNumber, levelCode, value);
    m_state.levels().levelToVariables(deviceNumber, levelCode, value);
    CustomEvent event;
    event.type = EventType::Level;
    event.device = { deviceNumber, 1, 0 };
    event.levelCode = levelCode;
    event.levelValue = value;
    dispatch(event, data.get());
}

void Dispatcher::raiseData(const CustomEvent &event, const DataFields &fields)
{
    const std::unique_ptr<StructType> data = makeData(m_program, event.device, fields);
    dispatch(event, data.get());
}

void Dispatcher::raiseChannel(const CustomEvent &event)
{
    const std::unique_ptr<StructType> data =
        makeButtonData(m_program, { event.device, event.channel }, event.elapsedTenths);
    dispatch(event, data.get());
}

void Dispatcher::simulatePush(int deviceNumber, int port, int channel)
{
    releaseToItems();
    const std::unique_ptr<StructType> data = makeButtonData(m_program, { { deviceNumber, 1, 0 }, channel }, 0);
    CustomEvent event;
    event.type = EventType::Push;
    event.device = { deviceNumber, port, 0 };
    event.channel = channel;
    dispatch(event, data.get());
}

void Dispatcher::raiseCommand(const DeviceAddress &device, const QByteArray &text)
{
    CustomEvent event;
    event.type = EventType::Command;
    event.device = device;
    event.data = text;
    DataFields fields;
    fields.text = text;
    raiseData(event, fields);
}

void Dispatcher::raiseTimeline(const TimelineFigures &figures)
{
    const std::unique_ptr<StructType> data = makeTimelineData(figures);
    CustomEvent event;
    event.type = EventType::Timeline;
    event.timelineId = figures.id;
    event.cause = figures.cause;
    dispatch(event, data.get());
}

void Dispatcher::releaseToItems()
{
    DeviceActions *devices = m_state.devices();
    if (!devices) {
        return;
    }
    const TracedEvent traced(m_state.trace(), TraceRecord::of(TraceRecord::Kind::LetGo), 0,
                             TracedEvent::Keep::IfItActs);
    std::vector<ChannelAddress> held;
    held.swap(m_interpreter.heldPanelChannels());
    for (const ChannelAddress &channel : held) {
        setChannelFeedback(m_state, channel.device.number, channel.channel, 0);
    }
    devices->releaseHeldOutputs();
    devices->cancelRemoteToItems();
}

void Dispatcher::runMainlinePass()
{
    if (m_pendingStatements > 0 || m_state.stopRequested()) {
        return;
    }
    for (const Body &statement : m_mainline) {
        ++m_pendingStatements;
        QCoreApplication::postEvent(this, new ExecStatementEvent(&statement), kMainlinePriority);
    }
}

void Dispatcher::dropPendingMainline()
{
    QCoreApplication::removePostedEvents(this, kExecStatementEvent);
    m_pendingStatements = 0;
}

void Dispatcher::runStartBlock()
{
    if (m_program.startBlock) {
        const TracedEvent traced(m_state.trace(), TraceRecord::of(TraceRecord::Kind::Start), 0,
                                 TracedEvent::Keep::Always);
        m_startBlock = m_interpreter.prepareBody(*m_program.startBlock, Name());
        if (!m_interpreter.execute(m_startBlock, nullptr)) {
            m_interpreter.reportTooDeep(QStringLiteral("start"));
        }
        m_state.storage().flush();
    }
}

ButtonStatusSaver &Dispatcher::buttonStatus(int deviceNumber)
{
    return m_buttonStatus[deviceNumber];
}

const ButtonStatusSaver *Dispatcher::findButtonStatus(int deviceNumber) const
{
    const auto found = m_buttonStatus.find(deviceNumber);
    return found != m_buttonStatus.end() ? &found->second : nullptr;
}

void Dispatcher::customEvent(QEvent *event)
{
    switch (static_cast<int>(event->type())) {
    case PanelEvent::Pressed: {
        const auto *panel = static_cast<PanelEvent *>(event);
        press(panel->deviceNumber, panel->code);
        break;
    }
    case PanelEvent::Released: {
        const auto *panel = static_cast<PanelEvent *>(event);
        release(panel->deviceNumber, panel->code);
        break;
    }
    case PanelEvent::LevelChanged: {
        const auto *panel = static_cast<PanelEvent *>(event);
        changeLevel(panel->deviceNumber, panel->code, panel->value);
        break;
    }
    case kExecStatementEvent:
        if (beforeStatement) {
            beforeStatement();
        }
        runMainlineStatement(*static_cast<ExecStatementEvent *>(event)->body);
        m_pendingStatements = std::max(m_pendingStatements - 1, 0);
        break;
    default:
        return;
    }
    m_state.storage().flush(); // before the confirmation leaves
    event->accept();
}

void Dispatcher::runMainlineStatement(const Body &statement)
{
    const TracedEvent traced(m_state.trace(), TraceRecord::of(TraceRecord::Kind::Mainline), 0,
                             TracedEvent::Keep::IfItActs);
    if (!m_interpreter.execute(statement, nullptr)) {
        m_interpreter.reportTooDeep(QStringLiteral("mainline"));
    }
}

void Dispatcher::dispatch(const CustomEvent &event, StructType *data)
{
    if (!m_handlers || m_state.stopRequested()) {
        return;
    }
    if (observer) {
        observer(event);
    }
    const bool isRepeatedError = std::any_of(m_inProgress.begin(), m_inProgress.end(),
                                             [&event](const CustomEvent &outer) { return isSameError(outer, event); });
    if (isRepeatedError) {
        return;
    }
    Trace &trace = m_state.trace();
    if (event.type == EventType::Online || event.type == EventType::Offline) {
        trace.notePresence(event.device.number, event.type == EventType::Online);
    }
    // What comes by itself, ten times a second or with each command, is there only when a handler takes it.
    const bool isSideEffect = event.type == EventType::Hold || event.type == EventType::Command;
    const TracedEvent traced(trace, traceRecordOf(event), event.cause ? event.cause : answeredBy(trace, event),
                             isSideEffect ? TracedEvent::Keep::IfItActs : TracedEvent::Keep::Always);
    if (event.type == EventType::String) {
        fillBuffer(event);
    }
    const ChannelAddress input{ event.device, event.channel };
    m_state.setPushed(event.type == EventType::Push ? input : ChannelAddress{});
    m_state.setReleased(event.type == EventType::Release ? input : ChannelAddress{});
    if (event.type == EventType::Offline && event.device.number == m_heldDevice) {
        stopHold();
        m_heldDevice = -1;
        m_heldChannel = 0;
    }
    m_inProgress.push_back(event);
    m_handlers->handle(event, data);
    m_inProgress.pop_back();
    if (m_inProgress.empty()) {
        m_state.storage().flush();
    } else {
        // A dispatch within a handler: the handler goes on with what it saw before.
        const CustomEvent &outer = m_inProgress.back();
        const ChannelAddress outerInput{ outer.device, outer.channel };
        m_state.setPushed(outer.type == EventType::Push ? outerInput : ChannelAddress{});
        m_state.setReleased(outer.type == EventType::Release ? outerInput : ChannelAddress{});
    }
}

std::optional<ChannelAddress> Dispatcher::handledInput() const
{
    if (m_inProgress.empty()) {
        return std::nullopt;
    }
    const CustomEvent &event = m_inProgress.back();
    switch (event.type) {
    case EventType::Push:
    case EventType::Release:
    case EventType::Hold:
        return ChannelAddress{ event.device, event.channel };
    case EventType::Level:
        return ChannelAddress{ event.device, event.levelCode };
    case EventType::Online:
    case EventType::String:
    case EventType::Offline:
    case EventType::Error:
    case EventType::Timeline:
    case EventType::Command:
        break;
    }
    return std::nullopt;
}

void Dispatcher::tickHold()
{
    ++m_holdTenths;
    CustomEvent event;
    event.type = EventType::Hold;
    event.device = { m_heldDevice, 1, 0 };
    event.channel = m_heldChannel;
    event.elapsedTenths = m_holdTenths;
    raiseChannel(event);
}

void Dispatcher::stopHold()
{
    Clock::instance().cancel(m_holdTicket);
    m_holdTicket = 0;
    m_holdTenths = 0;
}

void Dispatcher::fillBuffer(const CustomEvent &event)
{
    const auto found = m_state.buffers().find(event.device);
    if (found == m_state.buffers().end()) {
        return;
    }
    Array *buffer = asArray(m_program.findGlobal(found->second));
    if (!buffer) {
        return;
    }
    // When the buffer is full the oldest bytes make room; that is said once until it has been emptied.
    if (buffer->length() == 0) {
        m_overflowed.erase(found->second.id());
    }
    const int limit = buffer->maxLength() > 0 ? buffer->maxLength() : kUnboundedBufferBytes;
    QByteArray data = event.data.right(limit);
    const int excess = buffer->length() + data.size() - limit;
    if (excess > 0 || data.size() < event.data.size()) {
        buffer->dropFront(std::max(excess, 0));
        if (m_overflowed.insert(found->second.id()).second) {
            m_program.reportWarning(
                translated(QT_TRANSLATE_NOOP("messages", "Buffer %1 overflowed")).arg(found->second.text()));
        }
    }
    buffer->appendBytes({ data.constData(), static_cast<size_t>(data.size()) });
    m_state.storage().saveVariable(*buffer);
}
