#pragma once
#include "devices/frames/PortFrames.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <optional>

class QSerialPort;
class QTimer;

/// A serial line, raw, with 8 data bits and no flow control, that stays in use for years: when its device goes away, an
/// adapter that was pulled out, it is opened again as soon as it is back, as it was set up.
/// Nobody else on this machine has it meanwhile, where the other asks.
/// Owns: port and timer (Qt children). Thread: that of the object it is a child of. Ends: with its parent.
class SerialLine : public QObject
{
    Q_OBJECT
public:
    static constexpr int kOpenAgainMs = 1000;
    static constexpr int kReadBytes = 64 * 1024;

    explicit SerialLine(const QString &deviceFile, QObject *parent = nullptr);

    QString deviceFile() const;
    bool isOpen() const;
    qint64 bytesToWrite() const;

    /// From now on kept open. What went wrong with the first attempt, if anything.
    std::optional<QString> open();
    void setUp(const SerialSetup &setup); // now, and whenever it is opened; before: 115200 baud, no parity, 1 stop bit
    QByteArray readAll();
    QByteArray read(int most);
    void write(const QByteArray &bytes); // closed: nothing
    bool waitForBytesWritten(int timeoutMs);

Q_SIGNALS:
    void readyRead();
    void bytesWritten(qint64 count);
    void lost();                         // what was not written is forgotten
    void opened();                       // again, after lost() or failed()
    void failed(const QString &reason);  // an attempt to open it again; once until the reason is another
    void refused(const QString &reason); // a part of the set-up; the rest of it is in force

private:
    std::optional<QString> tryToOpen();
    void apply();
    bool applyRate();
    void lose();
    void openAgain();

    QSerialPort *m_port = nullptr; // Qt child
    QTimer *m_again = nullptr;     // Qt child
    SerialSetup m_setup{ SerialSetup::Protocol::Rs232, 115200, SerialSetup::Parity::None, 1 };
    bool m_isRs485 = false; // the driver switches the direction
    QString m_failure;
};
