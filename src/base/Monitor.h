#pragma once
#include <QByteArray>
#include <QObject>
#include <QString>

#include <atomic>

/// The first byte of every monitor line.
enum class MonitorMessageType : quint8 {
    RemoteIo = 0,
    System = 1,
    Connection = 2,
    Online = 3,
    Error = 4,
    Warning = 5,
    PortTraffic = 6,
    LocalCommand = 7,
    Level = 8,
    Pulse = 9,
    On = 10,
    Off = 11,
    To = 12,
    Received = 13,
};

/// The hub through which monitor lines reach management tools and the terminal.
/// Owns: nothing. Thread: monitorLog may be called from any thread; the signal is emitted on the calling thread,
///       so receivers name themselves in their connect and get it queued.
/// Ends: with the process.
class NotificationCenter : public QObject
{
    Q_OBJECT
public:
    static NotificationCenter &instance();

    bool isListening() const { return m_listeners.load(std::memory_order_relaxed) > 0; }

    void addListener() { ++m_listeners; } // lines are made only while somebody listens
    void removeListener() { --m_listeners; }

Q_SIGNALS:
    void line(int type, const QString &text);

private:
    std::atomic<int> m_listeners{ 0 };
};

/// Sends one monitor line. Costs a test while nobody listens; see isMonitored() for texts that are dear to make.
void monitorLog(MonitorMessageType type, const QString &text);

/// Whether a monitor line would be seen by anybody now.
bool isMonitored();

/// Log rendering of data: as text when every byte is 0x20 to 0x7E, else upper-case hex pairs separated by blanks.
QString printableOrHex(const QByteArray &bytes);
