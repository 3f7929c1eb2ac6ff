#include "admin/ConsoleCommand.h"
#include "base/SystemNumber.h"
#include <QStringList>

namespace {
using namespace Console;
using Parsed = std::optional<Command>;

QString textOf(const QByteArray &rest)
{
    return QString::fromUtf8(rest).trimmed();
}

Parsed parseSetNetwork(const QByteArray &rest)
{
    constexpr int kFields = 5;
    const QStringList fields = QString::fromUtf8(rest).split(QLatin1Char('\n'));
    if (fields.size() != kFields) {
        return std::nullopt;
    }
    return SetNetwork{ fields.at(0).trimmed(), fields.at(1).trimmed(), fields.at(2).trimmed(), fields.at(3).trimmed(),
                       fields.at(4).trimmed().toInt() != 0 };
}

Parsed parseSetSystemNumber(const QByteArray &rest)
{
    bool isNumber = false;
    const int number = rest.trimmed().toInt(&isNumber);
    return isNumber && isSystemNumber(number) ? Parsed(SetSystemNumber{ number }) : std::nullopt;
}

struct Row
{
    const char *word;
    Parsed (*parse)(const QByteArray &rest);
};

constexpr Row kRows[] = {
    { "querynetwork", [](const QByteArray &) { return Parsed(QueryNetwork{}); } },
    { "setnetwork", parseSetNetwork },
    { "querysysnum", [](const QByteArray &) { return Parsed(QuerySystemNumber{}); } },
    { "setsysnum", parseSetSystemNumber },
    { "querydatetime", [](const QByteArray &) { return Parsed(QueryDateTime{}); } },
    { "setdatetime", [](const QByteArray &rest) { return Parsed(SetDateTime{ textOf(rest) }); } },
    { "querymac", [](const QByteArray &) { return Parsed(QueryMac{}); } },
    { "setmac", [](const QByteArray &rest) { return Parsed(SetMac{ textOf(rest) }); } },
};
} // namespace

std::optional<Console::Command> Console::parse(const QByteArray &text)
{
    for (const Row &row : kRows) {
        if (text.startsWith(row.word)) {
            return row.parse(text.mid(static_cast<int>(qstrlen(row.word))));
        }
    }
    return std::nullopt;
}
