#pragma once
#include "devices/PortLine.h"
#include "devices/frames/FramedPorts.h"
#include "devices/frames/PortLinkParser.h"

#include <map>
#include <set>

class QTimer;

/// Port hardware on a serial line at 115200 baud, a board; docs/formats/port-frames.md. A frame for a line that is away
/// is lost, and said to be. When the board tells that it has started, or the line is back, it is told again what it
/// has to keep: set-ups, relays, outputs.
/// Owns: the line and a timer (Qt children), the parser. Thread, Ends: as PortHardware.
class PortLink : public FramedPorts
{
    Q_OBJECT
public:
    static constexpr int kStalledMs = 200; // a frame that gets no further for so long is none

    PortLink(const QString &deviceFile, PortsThread &thread, Backlog &backlog);

    const PortHealth &health() const { return m_line->health(); }

    void open() override { m_line->open(); }
    void close(int timeoutMs) override;
    void setUpSerial(int port, const SerialSetup &setup) override;
    void switchRelay(int relay, bool isOn) override;
    void switchIo(int number, bool isOn) override;

private:
    void take(const QByteArrayList &frames);
    void takeTold(const PortFrames::Told &told);
    void tellAgain();
    void write(const QByteArray &frame) override;
    void finishWriting(int timeoutMs) override;

    PortLine *m_line = nullptr;  // Qt child
    QTimer *m_stalled = nullptr; // Qt child
    PortLinkParser m_parser;
    bool m_wasAway = false;
    std::map<int, SerialSetup> m_setups;
    std::map<int, bool> m_relays;
    std::map<int, bool> m_outputs;
    std::set<int> m_told; // relays that were found otherwise, since they were switched
};
