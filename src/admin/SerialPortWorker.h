#pragma once
#include "admin/ConsoleCommand.h"
#include "admin/TransferSession.h"
#include "base/Frame.h"
#include <QObject>

#include <functional>
#include <optional>

class QTimer;
class SerialLine;
class SettingManager;

/// The console port: a serial line over which a tool asks for and changes the settings and transfers files, in the
/// frames of the panel link.
/// Owns: the line and a timer (Qt children), the transfer session. Thread: made anywhere, then moved to a thread of
///       its own and started there with start(). Ends: deleted when its thread finishes.
class SerialPortWorker : public QObject
{
    Q_OBJECT
public:
    static constexpr int kTickMs = 200;
    static constexpr qint64 kStalledMs = 1000;   // a frame that gets no further for so long is dropped
    static constexpr int kMaxPayload = 5 + 4096; // a block of a file in one piece; no command is longer

    /// What the settings' changes set off: called on this object's thread, as the link's tools do. Of a change that
    /// failed they say why.
    using Problem = std::optional<QString>;
    struct Actions
    {
        std::function<void(const Console::SetNetwork &)> setNetwork;
        std::function<Problem(int number)> setSystemNumber;
        std::function<Problem(const QString &mac)> setMac;
        std::function<void(const QString &text)> setDateTime;
    };

    /// Settings and files outlive it.
    SerialPortWorker(const QString &deviceFile, const SettingManager &settings, Actions actions, TransferFiles &files,
                     const TransferTimes &times = {});
    ~SerialPortWorker() override;

public Q_SLOTS:
    void start();

private:
    void complain(const QString &reason) const;
    void readAvailable();
    void takeFrame(const Frame &frame, qint64 nowMs);
    void tick();
    void perform(const Console::Command &command);
    void reply(const QByteArray &text);
    void replyUnless(const Problem &problem, const QByteArray &text);
    void write(const QByteArray &frames);

    const QString m_deviceFile;
    const SettingManager &m_settings;
    const Actions m_actions;
    TransferSession m_transfers;
    SerialLine *m_line = nullptr; // Qt child
    QTimer *m_timer = nullptr;    // Qt child
    FrameParser m_parser;
    qint64 m_heardMs = 0; // when the last byte came
};
