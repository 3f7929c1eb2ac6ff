#include "tools/arkctl/TraceTree.h"
#include "tools/arkctl/Rendering.h"

#include <QByteArray>
#include <QString>

#include <algorithm>

namespace {
using Json = TraceTree::Json;

std::string text(const Json &object, const char *key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_string()
               ? Rendering::escaped(QByteArray::fromStdString(found->get<std::string>()))
               : std::string();
}

long long number(const Json &object, const char *key)
{
    const auto found = object.find(key);
    return found != object.end() && found->is_number() ? found->get<long long>() : 0;
}

const Json &list(const Json &object, const char *key)
{
    static const Json none = Json::array();
    const auto found = object.find(key);
    return found != object.end() && found->is_array() ? *found : none;
}

bool isSameWord(const std::string &left, const std::string &right)
{
    return QString::fromStdString(left).compare(QString::fromStdString(right), Qt::CaseInsensitive) == 0;
}

bool isOfDevice(const Json &event, const std::string &device)
{
    const std::string address = text(event, "device");
    return isSameWord(text(event, "name"), device) || address == device ||
           address.substr(0, address.find(':')) == device;
}

enum class Colour { Event, Handler, Place, Miss, Problem };

std::string coloured(bool hasColours, Colour colour, const std::string &words)
{
    static constexpr const char *kCodes[] = { "1", "36", "2", "33", "31" };
    return hasColours && !words.empty()
               ? std::string("\033[") + kCodes[static_cast<size_t>(colour)] + 'm' + words + "\033[0m"
               : words;
}

std::string took(long long micros)
{
    return QStringLiteral("%1 ms")
        .arg(static_cast<double>(micros) / 1000, 0, 'f', micros < 10000 ? 2 : 0)
        .toStdString();
}

std::string stepLine(const Json &step, bool hasColours)
{
    const std::string kind = text(step, "kind");
    const long long count = number(step, "count");
    std::string line = text(step, "text");
    if (kind == "handler") {
        line = coloured(hasColours, Colour::Handler, line.empty() ? "handler" : line);
    } else if (kind == "problem") {
        line = coloured(hasColours, Colour::Problem, line);
    }
    if (count > 1) {
        line += "  " + std::to_string(count) + '*';
    }
    if (const std::string place = text(step, "place"); !place.empty()) {
        line += "  " + coloured(hasColours, Colour::Place, place);
    }
    return kind == "handler" ? line + "  " + took(number(step, "micros")) : line;
}
} // namespace

std::vector<TraceTree> TraceTree::of(const Json &events)
{
    std::vector<TraceTree> trees;
    for (const Json &event : events) {
        const auto nested = event.find("isNested");
        if (trees.empty() || nested == event.end() || *nested != true) {
            trees.emplace_back();
        }
        trees.back().m_events.push_back(event);
    }
    return trees;
}

bool TraceTree::passes(const TraceFilter &filter) const
{
    return std::any_of(m_events.begin(), m_events.end(), [&filter](const Json &event) {
        const Json &steps = list(event, "steps");
        const auto hasStep = [&steps](auto condition) { return std::any_of(steps.begin(), steps.end(), condition); };
        const bool isThere =
            filter.place.empty() || hasStep([&filter](const Json &step) {
                const std::string place = text(step, "place");
                return place == filter.place || place.substr(0, place.find_last_of(':')) == filter.place;
            });
        const bool isSlow = !filter.micros || hasStep([&filter](const Json &step) {
            return text(step, "kind") == "handler" && number(step, "micros") >= *filter.micros;
        });
        const bool isOfChannel =
            !filter.channel || (event.contains("device") && number(event, "code") == *filter.channel);
        return isThere && isSlow && isOfChannel && (filter.device.empty() || isOfDevice(event, filter.device)) &&
               text(event, "time") >= filter.since;
    });
}

std::vector<std::string> TraceTree::lines(bool hasColours) const
{
    std::vector<std::string> lines;
    addLines(m_events.front(), 0, hasColours, lines);
    return lines;
}

void TraceTree::addLines(const Json &event, int depth, bool hasColours, std::vector<std::string> &lines) const
{
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    std::string head = coloured(hasColours, Colour::Event, text(event, "text"));
    if (depth == 0) {
        const std::string time = text(event, "time");
        head = time.substr(std::min(time.size(), time.find('T') + 1)) + ' ' + head + "  #" +
               std::to_string(number(event, "id"));
        if (const long long cause = number(event, "cause"); cause != 0) {
            head += "  from #" + std::to_string(cause) + ' ' + text(event, "causeText");
        }
    }
    lines.push_back(indent + head);
    for (const Json &miss : list(event, "misses")) {
        const QByteArray words = miss.is_string() ? QByteArray::fromStdString(miss.get<std::string>()) : QByteArray();
        lines.push_back(indent + "  " + coloured(hasColours, Colour::Miss, Rendering::escaped(words)));
    }
    // What happened meanwhile stands among the steps, by the numbers.
    auto nested = m_events.begin() + 1;
    const auto addUpTo = [&](long long id, int inner) {
        for (; nested < m_events.end() && number(*nested, "id") < id; ++nested) {
            if (number(*nested, "cause") == number(event, "id")) {
                addLines(*nested, inner, hasColours, lines);
            }
        }
    };
    bool isInHandler = false;
    for (const Json &step : list(event, "steps")) {
        const bool isHandler = text(step, "kind") == "handler";
        addUpTo(number(step, "id"), depth + (isInHandler ? 2 : 1));
        isInHandler = isInHandler || isHandler;
        lines.push_back(indent + (isInHandler && !isHandler ? "    " : "  ") + stepLine(step, hasColours));
    }
    addUpTo(std::numeric_limits<long long>::max(), depth + (isInHandler ? 2 : 1));
}
