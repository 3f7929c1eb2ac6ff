#pragma once
#include <QByteArray>
#include <QObject>
#include <QString>

#include <optional>

class QSerialPort;
class QTimer;

/// A serial line at 115200 baud, 8 data bits, no parity, 1 stop bit, no flow control, that stays in use for years: when
/// its device goes away, an adapter that was pulled out, it is opened again as soon as it is back.
/// Owns: port and timer (Qt children). Thread: that of the object it is a child of. Ends: with its parent.
class SerialLine : public QObject
{
    Q_OBJECT
public:
    static constexpr int kOpenAgainMs = 5000;
    static constexpr int kReadBytes = 64 * 1024;

    explicit SerialLine(const QString &deviceFile, QObject *parent = nullptr);

    QString deviceFile() const;
    bool isOpen() const;
    qint64 bytesToWrite() const;

    /// From now on kept open. What went wrong with the first attempt, if anything.
    std::optional<QString> open();
    QByteArray readAll();
    void write(const QByteArray &bytes); // closed: nothing
    bool waitForBytesWritten(int timeoutMs);

Q_SIGNALS:
    void readyRead();
    void lost();
    void failed(const QString &reason); // an attempt to open it again; once until it is open again

private:
    void lose();
    void openAgain();

    QSerialPort *m_port = nullptr; // Qt child
    QTimer *m_again = nullptr;     // Qt child
    bool m_hasFailed = false;
};
