#include "tools/arkctl/screen/CodeList.h"
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <set>

namespace {
constexpr size_t kMostListedCodes = 1000;
constexpr int kHighestCode = 65535;

/// Adds the numbers of "7" or "7-9"; false when the part is neither.
bool addPart(const QString &part, std::set<int> &codes)
{
    static const QRegularExpression form(QStringLiteral("\\A\\s*([0-9]{1,5})\\s*(?:-\\s*([0-9]{1,5})\\s*)?\\z"));
    const QRegularExpressionMatch match = form.match(part);
    const int first = match.captured(1).toInt();
    const int last = match.captured(2).isEmpty() ? first : match.captured(2).toInt();
    if (!match.hasMatch() || first > last || last > kHighestCode) {
        return false;
    }
    for (int code = first; code <= last && codes.size() <= kMostListedCodes; ++code) {
        codes.insert(code);
    }
    return true;
}
} // namespace

std::variant<std::vector<int>, std::string> parseCodeList(const std::string &text)
{
    std::set<int> codes;
    const QStringList parts = QString::fromStdString(text).split(QLatin1Char(','));
    for (const QString &part : parts) {
        if (!addPart(part, codes)) {
            return "not a list of numbers such as 1-24,101: " + text;
        }
    }
    if (codes.size() > kMostListedCodes) {
        return "more than " + std::to_string(kMostListedCodes) + " numbers: " + text;
    }
    return std::vector<int>(codes.begin(), codes.end());
}

std::variant<LevelRange, std::string> parseLevelRange(const std::string &text)
{
    static const QRegularExpression form(QStringLiteral("\\A(-?[0-9]{1,9})-(-?[0-9]{1,9})\\z"));
    const QRegularExpressionMatch match = form.match(QString::fromStdString(text));
    const LevelRange range{ match.captured(1).toInt(), match.captured(2).toInt() };
    if (!match.hasMatch() || range.lowest >= range.highest) {
        return "not a range such as 0-100: " + text;
    }
    return range;
}
