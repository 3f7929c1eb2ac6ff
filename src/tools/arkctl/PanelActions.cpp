#include "tools/arkctl/PanelActions.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <sstream>

namespace {
std::optional<int> numberIn(const std::string &word)
{
    int number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc() && end == word.data() + word.size() ? std::optional(number) : std::nullopt;
}

/// Walks over the words; the first fault stays.
class ScriptReader
{
public:
    explicit ScriptReader(const std::vector<std::string> &words)
        : m_words(words)
    {}

    bool atEnd() const { return m_next == m_words.size() || !m_fault.empty(); }
    const std::string &fault() const { return m_fault; }
    const std::string &word() { return m_words.at(m_next++); }
    void setFault(const std::string &fault) { m_fault = m_fault.empty() ? fault : m_fault; }

    int natural(const std::string &what)
    {
        const int value = number(what);
        if (value < 0) {
            setFault(what + " must not be negative");
        }
        return value;
    }

    int number(const std::string &what)
    {
        if (atEnd()) {
            setFault(what + " is missing");
            return 0;
        }
        const std::string &text = word();
        const std::optional<int> value = numberIn(text);
        if (!value) {
            setFault(what + " is not a number: " + text);
        }
        return value.value_or(0);
    }

    /// Seconds, also parts of them, as milliseconds.
    int milliseconds(const std::string &what)
    {
        constexpr double kLongestSeconds = 1e6;
        if (atEnd()) {
            setFault(what + " is missing");
            return 0;
        }
        const std::string &text = word();
        double seconds = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
        if (error != std::errc() || end != text.data() + text.size() || !(seconds >= 0 && seconds <= kLongestSeconds)) {
            setFault(what + " is not a number of seconds: " + text);
            return 0;
        }
        return static_cast<int>(std::lround(seconds * 1000));
    }

private:
    const std::vector<std::string> &m_words;
    size_t m_next = 0;
    std::string m_fault;
};

void readAction(ScriptReader &reader, PanelScript &script)
{
    using Kind = PanelAction::Kind;
    const std::string verb = reader.word();
    if (verb == "watch") {
        script.watches = true;
    } else if (verb == "-") {
        script.readsInput = true;
    } else if (script.readsInput) {
        reader.setFault("after - only watch may follow, not " + verb);
    } else if (verb == "wait") {
        script.actions.push_back({ Kind::Wait, 0, reader.milliseconds("the time after wait") });
    } else if (verb == "push") {
        script.actions.push_back({ Kind::Push, reader.natural("the channel after push") });
    } else if (verb == "release") {
        script.actions.push_back({ Kind::Release, reader.natural("the channel after release") });
    } else if (verb == "press") {
        const int channel = reader.natural("the channel after press");
        script.actions.push_back({ Kind::Push, channel });
        script.actions.push_back({ Kind::Release, channel });
    } else if (verb == "level") {
        const int level = reader.natural("the level after level");
        script.actions.push_back(
            { Kind::Level, level, reader.number("the value after level " + std::to_string(level)) });
    } else {
        reader.setFault("unknown action: " + verb + " (there are push, release, press, level, wait and watch)");
    }
}
} // namespace

std::variant<PanelScript, std::string> parsePanelScript(const std::vector<std::string> &words)
{
    ScriptReader reader(words);
    PanelScript script;
    while (!reader.atEnd()) {
        readAction(reader, script);
    }
    if (!reader.fault().empty()) {
        return reader.fault();
    }
    return script;
}

std::variant<PanelScript, std::string> parsePanelLine(const std::string &line)
{
    std::istringstream stream(line.substr(0, line.find('#')));
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        if (word == "-") {
            return "- is for the command line only";
        }
        words.push_back(word);
    }
    return parsePanelScript(words);
}
