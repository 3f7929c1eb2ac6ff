#pragma once
#include <QByteArray>
#include <QObject>

#include <deque>
#include <memory>
#include <optional>

class SerialLine;

/// What stands behind the ports of device 5001 and takes their frames.
class PortHardware
{
public:
    virtual ~PortHardware() = default;
    virtual std::optional<QString> open() = 0; // what went wrong, with the device and the reason
    virtual bool isOpen() const = 0;
    virtual void write(const QByteArray &frame) = 0; // closed: nothing
    virtual void finishWriting(int timeoutMs) = 0;   // returns when all is out, or after that time
};

/// The desktop's hardware: there is none; the frames can be watched.
/// Owns: the latest frames. Thread: the main thread. Ends: with its port manager.
class SimulatedPortHardware : public QObject, public PortHardware
{
    Q_OBJECT
public:
    static constexpr size_t kKeptFrames = 1000;

    std::optional<QString> open() override { return std::nullopt; }
    bool isOpen() const override { return true; }
    const std::deque<QByteArray> &frames() const { return m_frames; } // the latest, oldest first
    void clearFrames() { m_frames.clear(); }
    void write(const QByteArray &frame) override;
    void finishWriting(int) override {}

Q_SIGNALS:
    void frameWritten(const QByteArray &frame);

private:
    std::deque<QByteArray> m_frames;
};

/// Port hardware on a serial line; frames as PortFrames::onPortLink. A frame for a line that is away is lost.
/// What the line says is thrown away. Owns: the line. Thread: the main thread. Ends: with its port manager.
class SerialPortHardware : public PortHardware
{
public:
    explicit SerialPortHardware(const QString &deviceFile);
    ~SerialPortHardware() override;

    std::optional<QString> open() override;
    bool isOpen() const override;
    void write(const QByteArray &frame) override;
    void finishWriting(int timeoutMs) override;

private:
    std::unique_ptr<SerialLine> m_line;
    bool m_isStuck = false;
};
