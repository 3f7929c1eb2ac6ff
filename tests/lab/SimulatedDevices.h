#pragma once
#include "base/Descriptor.h"

#include <QDir>
#include <QFile>
#include <QString>

#include <fcntl.h>
#include <linux/lirc.h>
#include <sys/ioctl.h>
#include <termios.h>

// Devices that the kernel simulates, in the lab only.

inline bool writeTo(const QString &path, const QByteArray &text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush();
}

inline QByteArray readFrom(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

/// A GPIO chip with the name as its label; one whose label begins with "mute" does not tell of edges.
class SimulatedChip
{
public:
    explicit SimulatedChip(const QString &label, int lineCount = 8)
        : m_folder(QStringLiteral("/sys/kernel/config/gpio-sim/%1").arg(label))
    {
        QDir().mkpath(m_folder + QStringLiteral("/bank0/line2"));
        writeTo(m_folder + QStringLiteral("/bank0/num_lines"), QByteArray::number(lineCount));
        writeTo(m_folder + QStringLiteral("/bank0/label"), label.toLatin1());
        writeTo(m_folder + QStringLiteral("/bank0/line2/name"), label.toLatin1() + " two");
    }
    ~SimulatedChip()
    {
        unplug();
        for (const char *folder : { "/bank0/line7/hog", "/bank0/line7", "/bank0/line2", "/bank0", "" }) {
            QDir().rmdir(m_folder + QLatin1String(folder));
        }
    }
    bool plug() { return writeTo(m_folder + QStringLiteral("/live"), "1"); }
    bool plugWithLamp() // the kernel itself uses line 7, as that
    {
        QDir().mkpath(m_folder + QStringLiteral("/bank0/line7/hog"));
        return writeTo(m_folder + QStringLiteral("/bank0/line7/hog/name"), "lamp") &&
               writeTo(m_folder + QStringLiteral("/bank0/line7/hog/direction"), "output-low") && plug();
    }
    bool unplug() { return writeTo(m_folder + QStringLiteral("/live"), "0"); }
    QByteArray name() const { return readFrom(m_folder + QStringLiteral("/bank0/chip_name")); } // "gpiochip0"
    int firstNumber() const // of its lines, where the kernel counts those of all chips
    {
        const QDir chips(deviceFolder() + QStringLiteral("/gpio"));
        return readFrom(chips.filePath(chips.entryList({ QStringLiteral("gpiochip*") }).value(0)) +
                        QStringLiteral("/base"))
            .toInt();
    }
    QByteArray value(int line) const { return readFrom(lineFile(line, "value")); }
    bool pull(int line, const QByteArray &where) { return writeTo(lineFile(line, "pull"), "pull-" + where); }

private:
    QString deviceFolder() const
    {
        return QStringLiteral("/sys/devices/platform/") +
               QString::fromLatin1(readFrom(m_folder + QStringLiteral("/dev_name")));
    }
    QString lineFile(int line, const char *attribute) const
    {
        return QStringLiteral("%1/%2/sim_gpio%3/%4")
            .arg(deviceFolder(), QString::fromLatin1(name()))
            .arg(line)
            .arg(QLatin1String(attribute));
    }
    const QString m_folder;
};

/// A USB serial adapter with its far end.
class SimulatedAdapter
{
public:
    enum class Driver {
        Acm,    // takes every rate
        Generic // for adapters that Linux does not know: takes none
    };
    SimulatedAdapter(const QString &serialNumber, Driver driver)
        : m_folder(QStringLiteral("/sys/kernel/config/usb_gadget/%1").arg(serialNumber))
        , m_function((driver == Driver::Acm ? QStringLiteral("acm.") : QStringLiteral("gser.")) + serialNumber)
        , m_deviceFile(QStringLiteral("/dev/serial/by-id/usb-FTDI_FT232R_USB_UART_%1-if00").arg(serialNumber) +
                       (driver == Driver::Acm ? QString() : QStringLiteral("-port0")))
    {
        for (const QString &folder : { QStringLiteral("/strings/0x409"), QStringLiteral("/configs/c.1"),
                                       QStringLiteral("/functions/") + m_function }) {
            QDir().mkpath(m_folder + folder);
        }
        writeTo(m_folder + QStringLiteral("/idVendor"), "0x0525");
        writeTo(m_folder + QStringLiteral("/idProduct"), driver == Driver::Acm ? "0xa4a7" : "0xa4a6");
        writeTo(m_folder + QStringLiteral("/strings/0x409/manufacturer"), "FTDI");
        writeTo(m_folder + QStringLiteral("/strings/0x409/product"), "FT232R USB UART");
        writeTo(m_folder + QStringLiteral("/strings/0x409/serialnumber"), serialNumber.toLatin1());
        QFile::link(m_folder + QStringLiteral("/functions/") + m_function, link());
    }
    ~SimulatedAdapter()
    {
        pull();
        QFile::remove(link());
        for (const QString &folder : { QStringLiteral("/configs/c.1"), QStringLiteral("/functions/") + m_function,
                                       QStringLiteral("/strings/0x409"), QString() }) {
            QDir().rmdir(m_folder + folder);
        }
    }
    QString deviceFile() const { return m_deviceFile; }
    bool isThere() const { return QFile::exists(m_deviceFile); }
    bool plug(int socket)
    {
        openFarEnd(); // before anything can be echoed there
        return m_farEnd.isOpen() &&
               writeTo(m_folder + QStringLiteral("/UDC"), "dummy_udc." + QByteArray::number(socket));
    }
    bool pull()
    {
        m_farEnd.close();
        m_received.clear();
        return writeTo(m_folder + QStringLiteral("/UDC"), "\n");
    }
    bool send(const QByteArray &bytes)
    {
        return ::write(m_farEnd.get(), bytes.constData(), static_cast<size_t>(bytes.size())) == bytes.size();
    }
    QByteArray received() // since it was plugged
    {
        char bytes[4096];
        const ssize_t count = ::read(m_farEnd.get(), bytes, sizeof bytes);
        m_received.append(bytes, static_cast<int>(qMax<ssize_t>(count, 0)));
        return m_received;
    }

private:
    QString link() const { return m_folder + QStringLiteral("/configs/c.1/") + m_function; }
    void openFarEnd()
    {
        const QByteArray number = readFrom(m_folder + QStringLiteral("/functions/%1/port_num").arg(m_function));
        m_farEnd = Descriptor(::open(("/dev/ttyGS" + number).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK));
        termios raw{};
        ::tcgetattr(m_farEnd.get(), &raw);
        ::cfmakeraw(&raw);
        ::tcsetattr(m_farEnd.get(), TCSANOW, &raw);
    }
    const QString m_folder;
    const QString m_function;
    const QString m_deviceFile;
    Descriptor m_farEnd;
    QByteArray m_received;
};

inline const QString kLirc = QStringLiteral("/dev/lirc0"); // sends and receives what it sends

inline Descriptor lirc(quint32 receiveMode)
{
    Descriptor device(::open("/dev/lirc0", O_RDONLY | O_NONBLOCK));
    ioctl(device.get(), LIRC_SET_REC_MODE, &receiveMode);
    return device;
}
