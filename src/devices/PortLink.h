#pragma once
#include "devices/FramedPorts.h"

class SerialLine;

/// Port hardware on a serial line, a board; frames as PortFrames::onPortLink. A frame for a line that is away is lost.
/// What the line says is thrown away. Owns: the line (a Qt child). Thread, Ends: as PortHardware.
class PortLink : public FramedPorts
{
    Q_OBJECT
public:
    explicit PortLink(const QString &deviceFile);

    void open() override;
    void close(int timeoutMs) override;

private:
    void complain(const QString &reason) const;
    void write(const QByteArray &frame) override;
    void finishWriting(int timeoutMs) override;

    SerialLine *m_line = nullptr; // Qt child
    bool m_isStuck = false;
};
