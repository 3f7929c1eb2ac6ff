#pragma once
#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

/// What of the trace is shown: events of which everything holds, with all that happened while they were handled.
struct TraceFilter
{
    std::string device;              // name, number or address, in any case; empty: any
    std::optional<int> channel;      // or level
    std::string place;               // "room.src:42", "room.src"; empty: any
    std::optional<long long> micros; // a handler ran for at least that long
    std::string since;               // the time of the oldest, as the trace has it; empty: any
};

/// One event of the trace with what happened while it was handled, as lines for people.
/// docs/formats/questions.md has the objects.
class TraceTree
{
public:
    using Json = nlohmann::ordered_json;

    /// Parts the events of one answer: each with the nested ones behind it.
    static std::vector<TraceTree> of(const Json &events);

    bool passes(const TraceFilter &filter) const;
    std::vector<std::string> lines(bool hasColours) const;
    const std::vector<Json> &events() const { return m_events; } // the outermost first

private:
    void addLines(const Json &event, int depth, bool hasColours, std::vector<std::string> &lines) const;

    std::vector<Json> m_events;
};
