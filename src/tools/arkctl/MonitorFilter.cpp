#include "tools/arkctl/MonitorFilter.h"
#include "tools/arkctl/Rendering.h"

#include <algorithm>
#include <optional>

namespace {
bool contains(const std::vector<int> &types, int type)
{
    return std::find(types.begin(), types.end(), type) != types.end();
}

/// The number of each name; otherwise the first name that is none.
std::optional<std::string> readTypes(const std::vector<std::string> &names, std::vector<int> &types)
{
    const std::vector<std::string> known = Rendering::monitorTypeNames();
    for (const std::string &name : names) {
        const auto found = std::find(known.begin(), known.end(), name);
        if (found == known.end()) {
            return name;
        }
        types.push_back(static_cast<int>(found - known.begin()));
    }
    return std::nullopt;
}

std::string joined(const std::vector<std::string> &names)
{
    std::string text;
    for (const std::string &name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}
} // namespace

bool MonitorFilter::shows(int type, const QString &line) const
{
    return (types.empty() || contains(types, type)) && !contains(otherTypes, type) &&
           (text.isEmpty() || line.contains(text, Qt::CaseInsensitive)) &&
           (pattern.pattern().isEmpty() || pattern.match(line).hasMatch());
}

std::variant<MonitorFilter, std::string> parseMonitorFilter(const MonitorFilterWords &words)
{
    MonitorFilter filter;
    auto unknown = readTypes(words.types, filter.types);
    if (!unknown) {
        unknown = readTypes(words.otherTypes, filter.otherTypes);
    }
    if (unknown) {
        return "no type of monitor lines: " + *unknown + " (there are " + joined(Rendering::monitorTypeNames()) + ")";
    }
    filter.text = QString::fromStdString(words.text);
    filter.pattern.setPattern(QString::fromStdString(words.regex));
    if (!filter.pattern.isValid()) {
        return "not a regular expression: " + words.regex + " (at character " +
               std::to_string(filter.pattern.patternErrorOffset() + 1) + ": " +
               filter.pattern.errorString().toStdString() + ")";
    }
    return filter;
}
