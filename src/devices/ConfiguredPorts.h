#pragma once
#include "devices/PortHealth.h"
#include "devices/PortsFile.h"
#include "devices/PortsThread.h"
#include "devices/frames/FramedPorts.h"
#include "devices/frames/PortFrames.h"
#include "io/Backlog.h"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>

class InfraredEmitter;
class InfraredReceiver;
class PortLine;
class PortLink;

/// The ports of this machine, as the file ports.ini says port by port: a device of Linux, the board on the port link,
/// else simulated.
/// Owns: what stands behind the ports, the ports thread with its lines, the backlog of what they bring.
/// Thread, Ends: as PortHardware.
class ConfiguredPorts : public PortHardware
{
    Q_OBJECT
public:
    /// \param board  the device file of the port link where ports.ini names none; empty: there is none
    ConfiguredPorts(const QString &file, const QString &board);
    ~ConfiguredPorts() override;

    QByteArray described() const; // every port, as a JSON array; docs/formats/link-frame.md, "ports?"

    QByteArray detected() const; // every device that could stand behind one; "portdetect?" there

    /// Writes the section (lines "key=value"; none: without it) and applies the file. What is wrong, if anything.
    std::optional<QString> set(const QString &port, const QStringList &lines);
    /// Puts input in at a simulated port: bytes, "on" or "off" of IO, a learned code. What is wrong, if anything.
    std::optional<QString> simulate(const QString &port, const QByteArray &input);

    void open() override;
    void setUpSerial(int port, const SerialSetup &setup) override;
    void sendSerial(int port, const QByteArray &data) override;
    void switchRelay(int relay, bool isOn) override;
    void switchIo(int number, bool isOn) override;
    std::optional<bool> ioState(int number) const override;
    void playIr(int emitter, const QByteArray &code, Play play) override;
    void endIr(int emitter) override;
    void queryIr(int number) override;
    void close(int timeoutMs) override;

Q_SIGNALS:
    void frameWritten(const QByteArray &frame); // to a simulated port

private:
    /// One port with a device. At most one of the last four is there; none: the entry cannot be used.
    struct Place
    {
        PortEntry entry;
        PortHealth health;
        std::unique_ptr<PortLine> serial{};
        std::unique_ptr<GpioLine> line{};
        std::unique_ptr<InfraredEmitter> emitter{};
        std::unique_ptr<PortLink> board{};
    };
    struct Count
    {
        qint64 in = 0;
        qint64 out = 0;
    };
    void apply(const PortsFile::Content &content);
    void addPlace(const PortEntry &entry);
    void beginSerial(Place &place);
    void beginLine(Place &place, GpioLine::Direction direction);
    void beginEmitter(Place &place);
    void beginBoard(Place &place);
    void listenTo(PortHardware &hardware);
    Place *find(PortName::Kind kind, int number);
    FramedPorts &others(); // behind the ports without a device of their own
    PortsThread &thread(); // of the lines
    void setOnline(int port, bool isOnline);
    void takeSerial(int port, const QByteArray &data);

    const QString m_file;
    const QString m_board;
    SimulatedPorts m_simulated;
    Backlog m_backlog;
    PortsThread m_thread;
    std::map<PortName, Place> m_places;
    QStringList m_problems;                       // of the file, that have been told
    std::set<int> m_offline;                      // serial ports; the others are online as far as the program knows
    std::unique_ptr<InfraredReceiver> m_receiver; // while a code is learned
    std::map<int, SerialSetup> m_setups;          // as asked for
    std::map<int, bool> m_relays;
    std::array<Count, 9> m_counts; // of serial ports, by number
};
