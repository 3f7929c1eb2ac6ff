#include "net/link/ManagementCommand.h"
#include "base/MacAddress.h"
#include <QHostAddress>
#include <QStringList>

namespace Management {
namespace {
using Parsed = std::optional<Command>;

bool isAddress(const QString &text)
{
    return !QHostAddress(text).isNull();
}

std::optional<int> numberIn(const QString &text)
{
    bool converts = false;
    const int number = text.trimmed().toInt(&converts);
    return converts ? std::optional(number) : std::nullopt;
}

Parsed parseSystemNumber(const QString &text)
{
    const QStringList fields = text.split(QLatin1Char('\n'));
    const std::optional<int> number = fields.size() == 2 ? numberIn(fields.at(1)) : std::nullopt;
    return number ? Parsed(SetSystemNumber{ *number }) : std::nullopt;
}

/// The fields of a command that changes the network; a last one behind the others may say that it is not to be tried.
struct NetworkFields
{
    explicit NetworkFields(const QString &text, int most)
        : fields(text.split(QLatin1Char('\n')))
        , isTried(fields.size() != most + 1 || fields.last() != QLatin1String("untried"))
    {
        if (!isTried) {
            fields.removeLast();
        }
    }

    QStringList fields;
    const bool isTried;
};

Parsed parseDhcp(const QString &text)
{
    const NetworkFields read(text, 2);
    const QStringList &fields = read.fields;
    if (fields.size() > 2) {
        return std::nullopt;
    }
    return UseDhcp{ fields.size() == 2 && isMacAddress(fields.at(1)) ? fields.at(1) : QString(), read.isTried };
}

Parsed parseStaticIp(const QString &text)
{
    const NetworkFields read(text, 6);
    const QStringList &fields = read.fields;
    if (fields.size() != 6 || !isAddress(fields.at(1)) || !isAddress(fields.at(2)) || !isAddress(fields.at(3))) {
        return std::nullopt;
    }
    return UseStaticIp{ fields.at(1), fields.at(2), fields.at(3), fields.at(4), fields.at(5), read.isTried };
}

Parsed parseIrCode(const QString &text)
{
    const QStringList fields = text.split(QLatin1Char('-'));
    const std::optional<int> number = fields.size() == 2 ? numberIn(fields.at(1)) : std::nullopt;
    return number ? Parsed(AskIrCode{ *number }) : std::nullopt;
}

Parsed parseSetPort(const QString &text)
{
    QStringList lines = text.mid(text.indexOf(QLatin1Char('!')) + 1).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (lines.isEmpty()) {
        return std::nullopt;
    }
    const QString port = lines.takeFirst();
    return SetPort{ port, lines };
}

Parsed parsePutIntoPort(const QString &text)
{
    const QStringList fields = text.mid(text.indexOf(QLatin1Char('!')) + 1).split(QLatin1Char('\n'));
    const QByteArray hex = fields.value(1).toLatin1().toLower();
    const QByteArray data = QByteArray::fromHex(hex);
    return PutIntoPort{ fields.at(0), fields.size() == 2 && data.toHex() == hex ? std::optional(data) : std::nullopt };
}

Parsed parseMonitorHistory(const QString &text)
{
    bool converts = false;
    const qint64 ageMs = text.mid(text.indexOf(QLatin1Char('?')) + 1).toLongLong(&converts);
    return converts && ageMs >= 0 ? Parsed(AskMonitorHistory{ ageMs }) : std::nullopt;
}

template <class Plain>
Parsed parsePlain(const QString &)
{
    return Plain();
}

template <class WithText>
Parsed parseText(const QString &text, int keywordSize)
{
    return WithText{ text.mid(keywordSize) };
}

enum class Match { Prefix, Whole };

struct Row
{
    const char *keyword;
    Match match;
    Parsed (*parse)(const QString &text);
};

constexpr Row kRows[] = {
    // the first match wins
    { "sysnum", Match::Prefix, parseSystemNumber },
    { "reboot", Match::Whole, parsePlain<Reboot> },
    { "dhcp", Match::Prefix, parseDhcp },
    { "staticip", Match::Prefix, parseStaticIp },
    { "datetime?", Match::Whole, parsePlain<AskDateTime> },
    { "datetime!", Match::Prefix, [](const QString &text) { return parseText<SetDateTime>(text, 9); } },
    { "ir", Match::Prefix, parseIrCode },
    { "listening?", Match::Whole, parsePlain<AskListenAddresses> },
    { "listenstatus?", Match::Prefix, [](const QString &text) { return parseText<AskListenStatus>(text, 13); } },
    { "ports?", Match::Whole, parsePlain<AskPorts> },
    { "portdetect?", Match::Whole, parsePlain<DetectDevices> },
    { "ports!", Match::Prefix, parseSetPort },
    { "portinput!", Match::Prefix, parsePutIntoPort },
    { "program?", Match::Prefix, [](const QString &text) { return Parsed(AskProgram{ text.mid(8).toUtf8() }); } },
    { "monitorhistory?", Match::Prefix, parseMonitorHistory },
};
} // namespace

std::optional<Command> parse(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes);
    for (const Row &row : kRows) {
        const QLatin1String keyword(row.keyword);
        if (row.match == Match::Whole ? text == keyword : text.startsWith(keyword)) {
            return row.parse(text);
        }
    }
    return std::nullopt;
}
} // namespace Management
