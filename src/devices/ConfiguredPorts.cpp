#include "devices/ConfiguredPorts.h"

#include "base/KeptFile.h"
#include "base/Messages.h"
#include "base/Monitor.h"
#include "base/StopSignals.h"
#include "devices/DetectedDevices.h"
#include "devices/IrCode.h"
#include "devices/PortLine.h"
#include "devices/PortSettings.h"
#include "devices/frames/PortLink.h"
#include "devices/linux/InfraredEmitter.h"
#include "devices/linux/InfraredReceiver.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>

namespace {
using Kind = PortName::Kind;
} // namespace

ConfiguredPorts::ConfiguredPorts(const QString &file, const QString &board)
    : m_file(file)
    , m_board(board)
{
    listenTo(m_simulated);
    connect(&m_simulated, &SimulatedPorts::frameWritten, this, &ConfiguredPorts::frameWritten);
}

ConfiguredPorts::~ConfiguredPorts()
{
    m_places.clear();
    m_thread.quit();
    m_thread.wait();
}

QByteArray ConfiguredPorts::described() const
{
    QJsonArray ports;
    const auto board = m_places.find({ Kind::Link, 1 });
    for (const PortName &name : PortName::all()) {
        const auto found = m_places.find(name);
        const Place *place = found != m_places.end()   ? &found->second
                             : board != m_places.end() ? &board->second
                                                       : nullptr;
        const bool isBoard = place && place->entry.name.kind == Kind::Link;
        QJsonObject port{ { QStringLiteral("port"), name.text() } };
        port[QStringLiteral("kind")] = QLatin1String(!place ? "simulated" : isBoard ? "portLink" : "linux");
        if (place) {
            const PortHealth &health = place->serial  ? place->serial->health()
                                       : place->board ? place->board->health()
                                                      : place->health;
            port[QStringLiteral("device")] = place->entry.device;
            port[QStringLiteral("open")] = health.isOpen();
            port[QStringLiteral("lastError")] =
                place->entry.problem.isEmpty() ? health.lastError() : place->entry.problem;
            if (place->line) {
                port[QStringLiteral("settings")] = PortSettings::text(*place->line);
            }
        }
        if (name.kind == Kind::Serial) {
            const auto setup = m_setups.find(name.number);
            if (setup != m_setups.end()) {
                port[QStringLiteral("settings")] = PortSettings::text(setup->second);
            }
            const Count &count = m_counts.at(static_cast<size_t>(name.number));
            port[QStringLiteral("bytesIn")] = count.in;
            port[QStringLiteral("bytesOut")] = place && place->serial ? place->serial->written() : count.out;
        }
        ports.append(port);
    }
    return QJsonDocument(ports).toJson(QJsonDocument::Compact);
}

QByteArray ConfiguredPorts::detected() const
{
    std::vector<PortEntry> entries;
    for (const auto &[name, place] : m_places) {
        entries.push_back(place.entry);
    }
    return DetectedDevices::described(entries);
}

std::optional<QString> ConfiguredPorts::set(const QString &port, const QStringList &lines)
{
    const std::optional<PortName> name = PortName::parse(port);
    if (!name) {
        return translated(QT_TRANSLATE_NOOP("messages", "there is no port %1")).arg(port);
    }
    for (const QString &line : lines) {
        if (!PortsFile::isSetting(line)) { // it would not be of this section, or stay there for ever
            return translated(QT_TRANSLATE_NOOP("messages", "\"%1\" is not KEY=VALUE")).arg(line.left(80));
        }
    }
    KeptFile file(m_file);
    const KeptFile::Content before = file.load();
    if (before.problem) {
        return QStringLiteral("%1: %2").arg(m_file, *before.problem);
    }
    const QStringList problems = PortsFile::parse(before.bytes).problems;
    const QByteArray text = PortsFile::withSection(before.bytes, *name, lines);
    const PortsFile::Content content = PortsFile::parse(text);
    for (const PortEntry &entry : content.entries) {
        const bool isOurs = entry.name == *name || !problems.contains(entry.problem); // also what it does to another
        if (isOurs && !entry.problem.isEmpty()) {
            return entry.problem;
        }
    }
    // To replace a file its folder is asked only: that somebody has protected this one is to be respected.
    const bool isProtected = before.isThere && !QFileInfo(m_file).isWritable();
    if (isProtected ? !file.settle(qt_error_string(EACCES)) : !file.save(text)) {
        return file.complaint();
    }
    apply(content);
    return std::nullopt;
}

std::optional<QString> ConfiguredPorts::simulate(const QString &port, const QByteArray &input)
{
    const std::optional<PortName> name = PortName::parse(port);
    if (!name || name->kind == Kind::Relay || name->kind == Kind::Link) {
        return translated(
            QT_TRANSLATE_NOOP("messages", "input comes at serial1 to serial8, io1 to io8 and ir1 to ir4 only"));
    }
    if (const Place *place = find(name->kind, name->number) ? find(name->kind, name->number) : find(Kind::Link, 1)) {
        return translated(QT_TRANSLATE_NOOP("messages", "%1 is not simulated: it is %2"))
            .arg(port, place->entry.device);
    }
    if (name->kind == Kind::Serial) {
        takeSerial(name->number, input);
    } else if (name->kind == Kind::Ir) {
        if (!IrCode::parse(input)) {
            return translated(QT_TRANSLATE_NOOP("messages", "it is no code; arkctl ir build makes such codes"));
        }
        Q_EMIT irLearned(name->number, input);
    } else if (input == "on" || input == "off") {
        Q_EMIT ioChanged(name->number, input == "on");
    } else {
        return translated(QT_TRANSLATE_NOOP("messages", "a contact is on or off"));
    }
    return std::nullopt;
}

void ConfiguredPorts::open()
{
    const KeptFile::Content file = KeptFile(m_file).load();
    PortsFile::Content content = PortsFile::parse(file.bytes);
    if (file.problem) {
        content.problems << QStringLiteral("%1: %2").arg(m_file, *file.problem);
    }
    apply(content);
}

void ConfiguredPorts::setUpSerial(int port, const SerialSetup &setup)
{
    m_setups[port] = setup;
    if (Place *place = find(Kind::Serial, port)) {
        if (place->serial) {
            place->serial->setUp(setup);
        }
    } else {
        others().setUpSerial(port, setup);
    }
}

void ConfiguredPorts::sendSerial(int port, const QByteArray &data)
{
    if (Place *place = find(Kind::Serial, port)) {
        if (place->serial) {
            place->serial->write(data);
        } else {
            place->health.refuse(place->entry.problem);
        }
    } else {
        const Place *board = find(Kind::Link, 1);
        if (!board || !board->board || board->board->health().isOpen()) {
            m_counts.at(static_cast<size_t>(port)).out += data.size();
        }
        others().sendSerial(port, data);
    }
}

void ConfiguredPorts::switchRelay(int relay, bool isOn)
{
    m_relays[relay] = isOn;
    if (Place *place = find(Kind::Relay, relay)) {
        if (!place->line) {
            place->health.refuse(place->entry.problem);
        } else if (!place->line->set(isOn)) {
            place->health.refuse(
                translated(QT_TRANSLATE_NOOP("messages", "it is not there, and is switched when it is back")));
        }
    } else {
        others().switchRelay(relay, isOn);
    }
}

void ConfiguredPorts::switchIo(int number, bool isOn)
{
    Place *place = find(Kind::Io, number);
    if (!place) {
        others().switchIo(number, isOn);
        return;
    }
    if (place->line && place->line->setting().direction == GpioLine::Direction::Input) {
        beginLine(*place, GpioLine::Direction::Output); // a contact that is used as an output is one
    }
    if (!place->line) {
        place->health.refuse(place->entry.problem);
    } else if (!place->line->set(isOn)) {
        place->health.refuse(
            translated(QT_TRANSLATE_NOOP("messages", "it is not there, and is switched when it is back")));
    }
}

std::optional<bool> ConfiguredPorts::ioState(int number) const
{
    const auto place = m_places.find({ Kind::Io, number });
    const bool isLine = place != m_places.end() && place->second.line;
    return isLine ? std::optional(place->second.line->isOn()) : std::nullopt;
}

void ConfiguredPorts::playIr(int emitter, const QByteArray &code, Play play)
{
    Place *place = find(Kind::Ir, emitter);
    if (!place) {
        others().playIr(emitter, code, play);
        return;
    }
    if (!place->emitter) {
        place->health.refuse(place->entry.problem);
        return;
    }
    const std::optional<IrCode> parsed = IrCode::parse(code);
    const auto press = play == Play::Once ? InfraredEmitter::Press::Short : InfraredEmitter::Press::Held;
    if (!parsed) {
        place->health.refuse(
            translated(QT_TRANSLATE_NOOP("messages", "the code is of another kind; arkctl ir build makes such codes")));
    } else if (!place->emitter->play(*parsed, press)) {
        place->health.refuse(
            translated(QT_TRANSLATE_NOOP("messages", "the code is not sent: the device is away, or too many wait")));
    }
}

void ConfiguredPorts::endIr(int emitter)
{
    if (Place *place = find(Kind::Ir, emitter)) {
        if (place->emitter) {
            place->emitter->release();
        }
    } else {
        others().endIr(emitter);
    }
}

void ConfiguredPorts::queryIr(int number)
{
    const auto isIr = [](const auto &each) { return each.first.kind == Kind::Ir; };
    const auto first = std::find_if(m_places.begin(), m_places.end(), isIr);
    if (first == m_places.end()) {
        others().queryIr(number);
        return;
    }
    Place *const place = find(Kind::Ir, number) ? find(Kind::Ir, number) : &first->second;
    m_receiver = std::make_unique<InfraredReceiver>(place->entry.device);
    connect(
        m_receiver.get(), &InfraredReceiver::learned, this,
        [this, number](const IrCode &code) {
            Q_EMIT irLearned(number, code.written());
            m_receiver.reset();
        },
        Qt::QueuedConnection);
    if (const std::optional<QString> problem = m_receiver->open()) {
        place->health.complain(*problem);
        m_receiver.reset();
    }
}

void ConfiguredPorts::close(int timeoutMs)
{
    const QDeadlineTimer end(timeoutMs);
    if (!find(Kind::Link, 1)) {
        m_simulated.close(0);
    }
    for (auto &[name, place] : m_places) {
        if (place.line && place.line->setting().direction == GpioLine::Direction::Output) {
            place.line->set(false);
        }
    }
    for (auto &[name, place] : m_places) {
        if (place.serial) {
            place.serial->finishWriting(static_cast<int>(end.remainingTime()));
        } else if (place.board) {
            place.board->close(static_cast<int>(end.remainingTime()));
        }
    }
}

void ConfiguredPorts::apply(const PortsFile::Content &content)
{
    for (const QString &problem : content.problems) {
        if (m_problems.contains(problem)) {
            continue;
        }
        const QString line = translated(QT_TRANSLATE_NOOP("messages", "Error:%1")).arg(problem);
        qWarning().noquote() << line;
        monitorLog(MonitorMessageType::Error, line);
    }
    m_problems = content.problems;
    std::vector<PortEntry> entries = content.entries;
    const auto isBoard = [](const PortEntry &entry) { return entry.name.kind == Kind::Link; };
    if (!m_board.isEmpty() && std::none_of(entries.begin(), entries.end(), isBoard)) {
        entries.push_back({ { Kind::Link, 1 }, m_board, {}, {} });
    }
    // What is taken away goes first: what comes may want its device.
    std::erase_if(m_places, [&entries](const auto &each) {
        return std::find(entries.begin(), entries.end(), each.second.entry) == entries.end();
    });
    for (const int port : std::set<int>(m_offline)) {
        if (!find(Kind::Serial, port)) {
            setOnline(port, true); // it is simulated again, or the board's
        }
    }
    for (const PortEntry &entry : entries) {
        if (m_places.find(entry.name) == m_places.end()) {
            addPlace(entry);
        }
    }
}

void ConfiguredPorts::addPlace(const PortEntry &entry)
{
    Place &place = m_places.emplace(entry.name, Place{ entry, { entry.name.text(), entry.device } }).first->second;
    if (!entry.problem.isEmpty()) {
        return; // it has been told
    }
    switch (entry.name.kind) {
    case Kind::Serial:
        beginSerial(place);
        return;
    case Kind::Relay:
        beginLine(place, GpioLine::Direction::Output);
        if (m_relays[entry.name.number]) {
            place.line->set(true);
        }
        return;
    case Kind::Io:
        beginLine(place, GpioLine::Direction::Input);
        return;
    case Kind::Ir:
        beginEmitter(place);
        return;
    case Kind::Link:
        beginBoard(place);
        return;
    }
}

void ConfiguredPorts::beginSerial(Place &place)
{
    const int port = place.entry.name.number;
    m_counts.at(static_cast<size_t>(port)) = {};
    place.serial = std::make_unique<PortLine>(place.entry.name.text(), place.entry.device,
                                              PortLine::Input::WhileFollowed, thread(), m_backlog);
    connect(place.serial.get(), &PortLine::received, this,
            [this, port](const QByteArray &data) { takeSerial(port, data); });
    connect(place.serial.get(), &PortLine::openChanged, this, [this, port](bool isOpen) { setOnline(port, isOpen); });
    place.serial->open();
    if (const auto setup = m_setups.find(port); setup != m_setups.end()) {
        place.serial->setUp(setup->second);
    }
}

void ConfiguredPorts::beginLine(Place &place, GpioLine::Direction direction)
{
    GpioLine::Setting setting = place.entry.line;
    setting.direction = direction;
    if (place.entry.name.kind == Kind::Io && direction == GpioLine::Direction::Output) {
        setting.isActiveLow = true; // an IO that is switched on is low, however the contact counts
    }
    place.line.reset(); // lets go of it
    place.line = std::make_unique<GpioLine>(setting);
    GpioLine *const line = place.line.get();
    PortHealth &health = place.health;
    const int number = place.entry.name.number;
    connect(line, &GpioLine::opened, this, [&health] { health.setOpen(); });
    connect(line, &GpioLine::lost, this, [&health](const QString &reason) { health.setLost(reason); });
    connect(line, &GpioLine::failed, this, [&health](const QString &reason) { health.setFailed(reason); });
    if (const std::optional<QString> problem = line->open()) {
        health.setFailed(*problem);
    } else {
        health.setOpen();
    }
    if (direction == GpioLine::Direction::Input) {
        connect(line, &GpioLine::changed, this, [this, number](bool isOn) { Q_EMIT ioChanged(number, isOn); });
        // What it is at first is told when the program runs.
        m_backlog.post(nullptr, 0, Backlog::Kind::NeverRefuse, [this, number] {
            if (const Place *there = find(Kind::Io, number); there && there->line) {
                Q_EMIT ioChanged(number, there->line->isOn());
            }
        });
    }
}

void ConfiguredPorts::beginEmitter(Place &place)
{
    place.emitter = std::make_unique<InfraredEmitter>(place.entry.device);
    InfraredEmitter *const emitter = place.emitter.get();
    PortHealth &health = place.health;
    connect(emitter, &InfraredEmitter::opened, emitter, [&health] { health.setOpen(); });
    connect(emitter, &InfraredEmitter::lost, emitter, [&health](const QString &reason) { health.setLost(reason); });
    connect(emitter, &InfraredEmitter::failed, emitter, [&health](const QString &reason) { health.setFailed(reason); });
    connect(emitter, &InfraredEmitter::refused, emitter, [&health](const QString &reason) { health.refuse(reason); });
    if (const std::optional<QString> problem = emitter->open()) {
        health.setFailed(*problem);
    } else {
        health.setOpen();
    }
}

void ConfiguredPorts::beginBoard(Place &place)
{
    place.board = std::make_unique<PortLink>(place.entry.device, thread(), m_backlog);
    listenTo(*place.board);
    place.board->open();
}

void ConfiguredPorts::listenTo(PortHardware &hardware)
{
    connect(&hardware, &PortHardware::serialReceived, this, [this](int port, const QByteArray &data) {
        if (!find(Kind::Serial, port)) { // else the port is another one
            takeSerial(port, data);
        }
    });
    connect(&hardware, &PortHardware::ioChanged, this, [this](int number, bool isOn) {
        if (!find(Kind::Io, number)) {
            Q_EMIT ioChanged(number, isOn);
        }
    });
    connect(&hardware, &PortHardware::irLearned, this, &ConfiguredPorts::irLearned);
    connect(&hardware, &PortHardware::portOnline, this, &ConfiguredPorts::portOnline);
}

ConfiguredPorts::Place *ConfiguredPorts::find(PortName::Kind kind, int number)
{
    const auto found = m_places.find({ kind, number });
    return found != m_places.end() ? &found->second : nullptr;
}

FramedPorts &ConfiguredPorts::others()
{
    Place *place = find(Kind::Link, 1);
    return place && place->board ? static_cast<FramedPorts &>(*place->board) : m_simulated;
}

PortsThread &ConfiguredPorts::thread()
{
    if (!m_thread.isRunning()) {
        const StopSignals::Blocked blocked;
        m_thread.setObjectName(QStringLiteral("ports"));
        m_thread.start();
    }
    return m_thread;
}

void ConfiguredPorts::setOnline(int port, bool isOnline)
{
    if (isOnline ? m_offline.erase(port) > 0 : m_offline.insert(port).second) {
        Q_EMIT portOnline(port, isOnline);
    }
}

void ConfiguredPorts::takeSerial(int port, const QByteArray &data)
{
    m_counts.at(static_cast<size_t>(port)).in += data.size();
    Q_EMIT serialReceived(port, data);
}
