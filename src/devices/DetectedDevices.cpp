#include "devices/DetectedDevices.h"

#include "base/Messages.h"
#include "devices/linux/DeviceFile.h"
#include "devices/linux/GpioChips.h"
#include "devices/linux/InfraredDevice.h"
#include "devices/linux/SerialAdapters.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>

namespace {
using Kind = PortName::Kind;
constexpr int kMostDevices = 1000; // in one answer

void put(QJsonObject &object, const char *key, const QString &text)
{
    if (!text.isEmpty()) {
        object[QLatin1String(key)] = text;
    }
}

/// The devices found so far, each with its port or how to give it one.
class Devices
{
public:
    explicit Devices(const std::vector<PortEntry> &entries)
        : m_entries(entries)
    {}

    /// \param setting  of ports.ini, as "device=/dev/lirc0", for the first free port of that kind; empty: for none
    template <class IsThis>
    void add(QJsonObject device, Kind kind, const QString &setting, IsThis isThis)
    {
        const auto entry = std::find_if(m_entries.begin(), m_entries.end(), isThis);
        if (entry != m_entries.end()) {
            device[QStringLiteral("port")] = entry->name.text();
        } else if (!device.contains(QLatin1String("problem")) && !device.contains(QLatin1String("usedBy")) &&
                   !setting.isEmpty()) {
            const QString port = freePort(kind);
            put(device, "set", port.isEmpty() ? port : port + QLatin1Char(' ') + setting);
        }
        m_found.append(device);
    }
    void addUnusable(const QJsonObject &device) { m_found.append(device); }
    bool isFull() const { return m_found.size() >= kMostDevices; }
    void leaveOut(quint32 count) { m_leftOut += count; }

    QByteArray written()
    {
        if (m_leftOut > 0) {
            m_found.append(QJsonObject{ { QStringLiteral("kind"), QStringLiteral("more") },
                                        { QStringLiteral("count"), qint64(m_leftOut) } });
        }
        return QJsonDocument(m_found).toJson(QJsonDocument::Compact);
    }

private:
    QString freePort(Kind kind) const
    {
        for (const PortName &name : PortName::all()) {
            const auto isIt = [&name](const PortEntry &entry) { return entry.name == name; };
            if (name.kind == kind && std::none_of(m_entries.begin(), m_entries.end(), isIt)) {
                return name.text();
            }
        }
        return {};
    }

    const std::vector<PortEntry> &m_entries;
    QJsonArray m_found;
    quint32 m_leftOut = 0;
};

bool isLine(const PortEntry &entry)
{
    return entry.name.kind == Kind::Relay || entry.name.kind == Kind::Io;
}

auto isFile(const QString &file)
{
    return [file](const PortEntry &entry) {
        return !isLine(entry) && QFileInfo(entry.device).canonicalFilePath() == file;
    };
}

void addSerial(Devices &devices)
{
    for (const SerialAdapters::Found &found : SerialAdapters::all()) {
        QJsonObject device{ { QStringLiteral("kind"), QStringLiteral("serial") },
                            { QStringLiteral("device"), found.device } };
        put(device, "file", found.file == found.device ? QString() : found.file);
        put(device, "driver", found.driver);
        put(device, "product", found.product);
        put(device, "problem", DeviceFile::whyForbidden(found.file));
        if (found.isConsole) {
            put(device, "usedBy", translated(QT_TRANSLATE_NOOP("messages", "the system's console")));
        }
        devices.add(device, Kind::Serial, QStringLiteral("device=") + found.device, isFile(found.file));
    }
}

void addInfrared(Devices &devices)
{
    for (const InfraredDevice::Found &found : InfraredDevice::all()) {
        QJsonObject device{ { QStringLiteral("kind"), QStringLiteral("infrared") },
                            { QStringLiteral("device"), found.device } };
        put(device, "problem", found.refusal);
        if (found.refusal.isEmpty()) {
            device[QStringLiteral("sends")] = found.canSend;
            device[QStringLiteral("receives")] = found.canReceive;
        }
        const QString setting = found.canSend ? QStringLiteral("device=") + found.device : QString();
        devices.add(device, Kind::Ir, setting, isFile(found.device));
    }
}

/// As ports.ini shall have it: the label stays when an adapter is plugged in again.
QString nameOf(const GpioChips::Chip &chip, const std::vector<GpioChips::Chip> &chips)
{
    static const QRegularExpression plain(QStringLiteral("^[\\w.-]+$"));
    const auto hasLabel = [&chip](const GpioChips::Chip &each) { return each.label == chip.label; };
    const bool isOne = std::count_if(chips.begin(), chips.end(), hasLabel) == 1;
    return isOne && plain.match(chip.label).hasMatch() ? chip.label : chip.name;
}

void addLines(Devices &devices)
{
    std::vector<GpioChips::Refusal> refusals;
    const std::vector<GpioChips::Chip> chips = GpioChips::open(&refusals);
    for (const GpioChips::Refusal &refusal : refusals) {
        devices.addUnusable({ { QStringLiteral("kind"), QStringLiteral("gpio") },
                              { QStringLiteral("device"), refusal.file },
                              { QStringLiteral("problem"), refusal.reason } });
    }
    for (const GpioChips::Chip &chip : chips) {
        for (quint32 offset = 0; offset < chip.lineCount; ++offset) {
            if (devices.isFull()) {
                devices.leaveOut(chip.lineCount - offset);
                break;
            }
            const GpioChips::Line line = GpioChips::line(chip, offset);
            const QString place = QStringLiteral("%1:%2").arg(nameOf(chip, chips)).arg(offset);
            QJsonObject device{ { QStringLiteral("kind"), QStringLiteral("gpio") },
                                { QStringLiteral("device"), place },
                                { QStringLiteral("chip"), chip.name } };
            put(device, "line", line.name);
            if (line.isUsed) {
                device[QStringLiteral("usedBy")] = line.consumer.isEmpty() ? QStringLiteral("?") : line.consumer;
            }
            const auto isIt = [&](const PortEntry &entry) {
                const QString &text = entry.line.line;
                const QString number = QLatin1Char(':') + QString::number(offset);
                return isLine(entry) && !text.isEmpty() &&
                       (text == chip.name + number || text == chip.label + number || text == line.name);
            };
            // What is an input now may have a contact behind it, which an output would short.
            devices.add(device, line.isOutput ? Kind::Relay : Kind::Io, QStringLiteral("line=") + place, isIt);
        }
    }
}
} // namespace

QByteArray DetectedDevices::described(const std::vector<PortEntry> &entries)
{
    Devices devices(entries);
    addSerial(devices);
    addInfrared(devices);
    addLines(devices);
    return devices.written();
}
