#include "tools/arkctl/SinceTime.h"
#include <QRegularExpression>

#include <optional>

namespace {
constexpr qint64 kSecondMs = 1000;

qint64 unitMs(QChar unit)
{
    switch (unit.toLatin1()) {
    case 'd':
        return kSecondMs * 3600 * 24;
    case 'h':
        return kSecondMs * 3600;
    case 'm':
        return kSecondMs * 60;
    default:
        return kSecondMs;
    }
}

std::optional<qint64> spanOf(const QString &text)
{
    static const QRegularExpression whole(QStringLiteral("\\A(?:[0-9]{1,6}[dhms])+\\z"));
    static const QRegularExpression part(QStringLiteral("([0-9]+)([dhms])"));
    if (!whole.match(text).hasMatch()) {
        return std::nullopt;
    }
    qint64 ms = 0;
    for (auto parts = part.globalMatch(text); parts.hasNext();) {
        const QRegularExpressionMatch match = parts.next();
        ms += match.captured(1).toLongLong() * unitMs(match.captured(2).at(0));
    }
    return ms;
}

/// The last time that the clock showed this.
std::optional<QDateTime> timeOfDay(const QString &text, const QDateTime &now)
{
    for (const char *form : { "H:mm", "H:mm:ss" }) {
        const QTime time = QTime::fromString(text, QString::fromLatin1(form));
        if (time.isValid()) {
            const QDateTime today(now.date(), time);
            return today <= now ? today : QDateTime(now.date().addDays(-1), time);
        }
    }
    return std::nullopt;
}

std::optional<QDateTime> dateAndTime(QString text)
{
    static const QRegularExpression between(QStringLiteral("(?<=[0-9])T(?=[0-9])"));
    text.replace(between, QStringLiteral(" "));
    for (const char *form : { "yyyy-MM-dd H:mm", "yyyy-MM-dd H:mm:ss", "yyyy-MM-dd" }) {
        const QDateTime moment = QDateTime::fromString(text, QString::fromLatin1(form));
        if (moment.isValid()) {
            return moment;
        }
    }
    return std::nullopt;
}
} // namespace

std::variant<qint64, std::string> parseSince(const std::string &text, const QDateTime &now)
{
    const QString trimmed = QString::fromStdString(text).trimmed();
    if (const std::optional<qint64> span = spanOf(trimmed)) {
        return *span;
    }
    std::optional<QDateTime> moment = timeOfDay(trimmed, now);
    if (!moment) {
        moment = dateAndTime(trimmed);
    }
    if (!moment) {
        return "not a time such as 90s, 10m, 2h, 14:05 or \"2026-11-23 14:05\": " + text;
    }
    const qint64 ageMs = moment->msecsTo(now);
    if (ageMs < 0) {
        return "a time that is still to come: " + text;
    }
    return ageMs;
}
