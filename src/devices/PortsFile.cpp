#include "devices/PortsFile.h"

#include "base/Messages.h"
#include "devices/linux/GpioChips.h"

#include <QFileInfo>

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <set>

namespace {
struct KindRow
{
    PortName::Kind kind;
    const char *name;
    int count; // 0: there is one, without a number
    std::array<const char *, 4> keys;
    const char *example; // of the first key, which must be there
};

constexpr KindRow kKinds[] = {
    { PortName::Kind::Serial, "serial", 8, { "device" }, "device=/dev/ttyUSB0" },
    { PortName::Kind::Relay, "relay", 8, { "line", "activeLow" }, "line=gpiochip0:17" },
    { PortName::Kind::Io, "io", 8, { "line", "activeLow", "bias", "debounceMs" }, "line=gpiochip0:5" },
    { PortName::Kind::Ir, "ir", 4, { "device" }, "device=/dev/lirc0" },
    { PortName::Kind::Link, "portLink", 0, { "device" }, "device=/dev/ttyS1" },
};

const KindRow &kindOf(PortName::Kind kind)
{
    return *std::find_if(std::begin(kKinds), std::end(kKinds),
                         [kind](const KindRow &each) { return each.kind == kind; });
}

bool hasKey(const KindRow &kind, const QString &key)
{
    return std::any_of(kind.keys.begin(), kind.keys.end(),
                       [&key](const char *each) { return each && key == QLatin1String(each); });
}

QString keysOf(const KindRow &kind)
{
    QStringList keys;
    for (const char *key : kind.keys) {
        if (key) {
            keys << QString::fromLatin1(key);
        }
    }
    return keys.join(QStringLiteral(", "));
}

/// Sets what the key asks for; what is wrong with its value, if anything.
std::optional<QString> take(const QString &key, const QString &value, PortEntry &entry)
{
    if (key == QLatin1String("activeLow")) {
        entry.line.isActiveLow = value == QLatin1String("true");
        if (!entry.line.isActiveLow && value != QLatin1String("false")) {
            return translated(QT_TRANSLATE_NOOP("messages", "\"%1\" is neither true nor false")).arg(value);
        }
    } else if (key == QLatin1String("bias")) {
        static const std::map<QString, GpioLine::Bias> kBiases{
            { QStringLiteral("as-is"), GpioLine::Bias::AsIs },
            { QStringLiteral("disabled"), GpioLine::Bias::Disabled },
            { QStringLiteral("pull-up"), GpioLine::Bias::PullUp },
            { QStringLiteral("pull-down"), GpioLine::Bias::PullDown }
        };
        const auto found = kBiases.find(value);
        if (found == kBiases.end()) {
            return translated(QT_TRANSLATE_NOOP("messages", "\"%1\" is none of as-is, disabled, pull-up and pull-down"))
                .arg(value);
        }
        entry.line.bias = found->second;
    } else if (key == QLatin1String("debounceMs")) {
        constexpr int kMostMs = 1000;
        bool isNumber = false;
        entry.line.debounceMs = value.toInt(&isNumber);
        if (!isNumber || entry.line.debounceMs < 0 || entry.line.debounceMs > kMostMs) {
            return translated(QT_TRANSLATE_NOOP("messages", "\"%1\" is no number from 0 to %2"))
                .arg(value)
                .arg(kMostMs);
        }
    } else {
        entry.device = value; // "device" or "line"
        entry.line.line = value;
    }
    return std::nullopt;
}

/// One device has several names: this one is the same for all of them, while it is there.
QString onlyName(const PortEntry &entry)
{
    if (entry.name.kind == PortName::Kind::Relay || entry.name.kind == PortName::Kind::Io) {
        const auto found = GpioChips::find(entry.device);
        const auto *place = std::get_if<GpioChips::Place>(&found);
        return place ? QStringLiteral("%1:%2").arg(place->chip.name).arg(place->offset) : entry.device;
    }
    const QString file = QFileInfo(entry.device).canonicalFilePath();
    return file.isEmpty() ? entry.device : file;
}

/// Reads the lines in order and gathers one entry a section.
class Reader
{
public:
    PortsFile::Content read(const QByteArray &text)
    {
        const QStringList lines = QString::fromUtf8(text).split(QLatin1Char('\n'));
        for (m_line = 1; m_line <= lines.size(); ++m_line) {
            readLine(lines.at(m_line - 1).trimmed());
        }
        endSection();
        return std::move(m_content);
    }

private:
    void readLine(const QString &line)
    {
        const int equals = line.indexOf(QLatin1Char('='));
        if (line.isEmpty() || line.startsWith(QLatin1Char('#')) || line.startsWith(QLatin1Char(';'))) {
            return;
        }
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            endSection();
            beginSection(line.mid(1, line.size() - 2).trimmed());
        } else if (equals <= 0 || !m_isInSection) {
            m_content.problems << translated(
                                      QT_TRANSLATE_NOOP(
                                          "messages",
                                          "ports.ini line %1: \"%2\" is neither [PORT] nor, below one, KEY=VALUE"))
                                      .arg(m_line)
                                      .arg(line.left(80));
        } else if (m_entry) {
            takeValue(line.left(equals).trimmed(), line.mid(equals + 1).trimmed());
        }
    }

    void beginSection(const QString &name)
    {
        m_isInSection = true;
        m_section = name;
        m_keys.clear();
        const std::optional<PortName> port = PortName::parse(name);
        if (!port) {
            complain({},
                     translated(QT_TRANSLATE_NOOP("messages", "there are only serial1 to serial8, relay1 to relay8, "
                                                              "io1 to io8, ir1 to ir4 and portLink")));
            return;
        }
        if (!m_names.insert(*port).second) {
            complain({}, translated(QT_TRANSLATE_NOOP("messages", "it stands there twice, the first one counts")));
            return;
        }
        m_entry = PortEntry{ *port, {}, {}, {} };
    }

    void takeValue(const QString &key, const QString &value)
    {
        constexpr int kLongest = 1000;
        const KindRow &kind = kindOf(m_entry->name.kind);
        if (value.size() > kLongest) {
            complain(key, translated(QT_TRANSLATE_NOOP("messages", "the value is longer than %1")).arg(kLongest));
        } else if (!hasKey(kind, key)) {
            complain(key, translated(QT_TRANSLATE_NOOP("messages", "there is no such key, but %1")).arg(keysOf(kind)));
        } else if (!m_keys.insert(key).second) {
            complain(key, translated(QT_TRANSLATE_NOOP("messages", "it stands there twice, the first one counts")));
        } else if (const std::optional<QString> problem = take(key, value, *m_entry)) {
            complain(key, *problem);
        }
    }

    void endSection()
    {
        if (!m_entry) {
            return;
        }
        const KindRow &kind = kindOf(m_entry->name.kind);
        const QString key = QString::fromLatin1(kind.keys.front());
        if (m_entry->device.isEmpty()) {
            complain(key, translated(QT_TRANSLATE_NOOP("messages", "it is missing; it looks like %1"))
                              .arg(QString::fromLatin1(kind.example)));
        } else {
            const auto taken = m_devices.emplace(onlyName(*m_entry), m_section);
            if (!taken.second) {
                complain(key, translated(QT_TRANSLATE_NOOP("messages", "%1 is behind [%2] already"))
                                  .arg(m_entry->device, taken.first->second));
            }
        }
        m_content.entries.push_back(*m_entry);
        m_entry.reset();
    }

    void complain(const QString &key, const QString &what)
    {
        const QString where =
            key.isEmpty() ? m_section.left(40) : QStringLiteral("%1] %2").arg(m_section, key.left(40));
        const QString problem =
            QStringLiteral("ports.ini [%1%2: %3").arg(where, key.isEmpty() ? QStringLiteral("]") : QString(), what);
        m_content.problems << problem;
        if (m_entry && m_entry->problem.isEmpty()) {
            m_entry->problem = problem;
        }
    }

    PortsFile::Content m_content;
    std::set<PortName> m_names;
    std::map<QString, QString> m_devices; // and the section that has it
    std::optional<PortEntry> m_entry;
    QString m_section;
    std::set<QString> m_keys; // of the section
    bool m_isInSection = false;
    int m_line = 0;
};
} // namespace

QString PortName::text() const
{
    const KindRow &found = kindOf(kind);
    return QString::fromLatin1(found.name) + (found.count > 0 ? QString::number(number) : QString());
}

std::optional<PortName> PortName::parse(const QString &text)
{
    std::vector<PortName> names = all();
    names.push_back({ Kind::Link, 1 });
    const auto found =
        std::find_if(names.begin(), names.end(), [&text](const PortName &name) { return name.text() == text; });
    return found != names.end() ? std::optional(*found) : std::nullopt;
}

std::vector<PortName> PortName::all()
{
    std::vector<PortName> names;
    for (const auto &kind : kKinds) {
        for (int number = 1; number <= kind.count; ++number) {
            names.push_back({ kind.kind, number });
        }
    }
    return names;
}

PortsFile::Content PortsFile::parse(const QByteArray &text)
{
    return Reader().read(text);
}

bool PortsFile::isSetting(const QString &line)
{
    const bool isPrintable = std::none_of(line.begin(), line.end(), [](QChar each) { return each < QLatin1Char(' '); });
    const QString text = line.trimmed();
    return isPrintable && text.indexOf(QLatin1Char('=')) > 0 && !QStringLiteral("[#;").contains(text.at(0));
}

QByteArray PortsFile::withSection(const QByteArray &text, const PortName &name, const QStringList &lines)
{
    const QByteArray heading = '[' + name.text().toLatin1() + ']';
    const QByteArray section = lines.isEmpty() ? QByteArray() : heading + '\n' + lines.join(QLatin1Char('\n')).toUtf8();
    QByteArrayList kept;
    bool isIn = false;
    bool isWritten = section.isEmpty();
    for (const QByteArray &line : text.split('\n')) {
        const QByteArray trimmed = line.trimmed();
        if (trimmed.startsWith('[')) {
            isIn = trimmed == heading;
            if (isIn && !isWritten) {
                kept << section;
                isWritten = true;
            }
        }
        if (!isIn || trimmed.isEmpty() || trimmed.startsWith('#') || trimmed.startsWith(';')) {
            kept << line;
        }
    }
    while (!kept.isEmpty() && kept.last().trimmed().isEmpty()) {
        kept.removeLast();
    }
    if (!isWritten) {
        kept << section;
    }
    return kept.join('\n') + '\n';
}
