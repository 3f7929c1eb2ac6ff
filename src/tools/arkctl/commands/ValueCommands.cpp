#include "tools/arkctl/Command.h"
#include "tools/arkctl/commands/ProgramQuestion.h"

#include <QTimer>

#include <map>

namespace {
using Json = ProgramQuestion::Json;

/// "nVolume = 40" for people.
std::string line(Rendering::Form form, const std::string &json, const Json &variable)
{
    if (form == Rendering::Form::Json) {
        return json;
    }
    const auto shown = [](const Json &value) {
        const std::string text = value.is_string() ? "'" + value.get<std::string>() + "'" : value.dump();
        return Rendering::escaped(QByteArray::fromStdString(text));
    };
    return Rendering::escaped(QByteArray::fromStdString(variable.value("name", std::string()))) + " = " +
           (variable.contains("value") ? shown(variable.at("value")) : std::string());
}

/// One question about variables, whose answer is shown; vars goes on until it has them all.
class ValuesRun : public ProgramQuestion
{
public:
    ValuesRun(const RunOptions &options, Json question, Rendering::Form form)
        : ProgramQuestion(options)
        , m_question(std::move(question))
        , m_form(form)
    {}

protected:
    void begin() override { ask(m_question); }

    void take(const Json &answer) override
    {
        for (const Json &variable : answer.value("variables", Json::array())) {
            console().print(line(m_form, dump(variable), variable));
        }
        if (answer.value("isAll", true)) {
            finish(Outcome::Done);
            return;
        }
        m_question["after"] = answer.value("next", 0);
        ask(m_question);
    }

private:
    Json m_question;
    const Rendering::Form m_form;
};

/// Shows them now and whenever one has changed.
class WatchRun : public ProgramQuestion
{
public:
    WatchRun(const RunOptions &options, const std::vector<std::string> &names, std::optional<int> durationMs,
             Rendering::Form form)
        : ProgramQuestion(options)
        , m_question{ { "ask", "get" }, { "names", names } }
        , m_durationMs(durationMs)
        , m_form(form)
    {}

protected:
    void begin() override
    {
        if (m_durationMs) {
            QTimer::singleShot(*m_durationMs, this, [this] { finish(Outcome::Done); });
        }
        ask(m_question);
    }

    void take(const Json &answer) override
    {
        for (const Json &variable : answer.value("variables", Json::array())) {
            const std::string now = dump(variable);
            std::string &before = m_shown[variable.value("name", std::string())];
            if (now != before) {
                before = now;
                console().print(line(m_form, now, variable));
            }
        }
        const bool isAll = answer.value("isAll", true);
        m_question["after"] = isAll ? 0 : answer.value("next", 0);
        constexpr int kPauseMs = 100;
        QTimer::singleShot(isAll ? kPauseMs : 0, this, [this] { ask(m_question); });
    }

private:
    Json m_question;
    const std::optional<int> m_durationMs;
    const Rendering::Form m_form;
    std::map<std::string, std::string> m_shown; // by name
};

struct ValueArguments
{
    std::vector<std::string> names;
    std::string name;
    std::string value;
    std::optional<double> seconds;
    bool wantsJson = false;
};

constexpr const char *kJsonText = "One JSON object per variable: name, type, value, isConstant";
} // namespace

Command getCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("get", "Show what variables of the program hold");
    word->explain(
        { "Names are written as in the source, in any case.", { { "arkctl get nVolume 'presets[2].name'", "" } } });
    const auto arguments = std::make_shared<ValueArguments>();
    word->add("NAME", arguments->names, "A variable, an element or a member").required();
    addJsonFlag(*word, arguments->wantsJson, kJsonText);
    return { word, [arguments](const RunOptions &options) {
                return ValuesRun(options, { { "ask", "get" }, { "names", arguments->names } },
                                 formOf(arguments->wantsJson))
                    .run();
            } };
}

Command setCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("set", "Give a variable of the program a value");
    word->explain({ "The value is written as in the source; levels and stores follow, handlers do not run.",
                    { { "arkctl set nVolume 40", "" }, { "arkctl set 'presets[2].name' \"'evening'\"", "" } } });
    const auto arguments = std::make_shared<ValueArguments>();
    word->add("NAME", arguments->name, "A variable, an element or a member").required();
    word->add("VALUE", arguments->value, "40, -1.5, $1F or 'text'").required();
    addJsonFlag(*word, arguments->wantsJson, kJsonText);
    return { word, [arguments](const RunOptions &options) {
                return ValuesRun(options,
                                 { { "ask", "set" }, { "name", arguments->name }, { "value", arguments->value } },
                                 formOf(arguments->wantsJson))
                    .run();
            } };
}

Command watchCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("watch", "Show variables of the program whenever they change");
    word->explain({ "Looks ten times a second; what was there for a shorter time is in arkctl trace.",
                    { { "arkctl watch nVolume bMuted", "" } } });
    const auto arguments = std::make_shared<ValueArguments>();
    word->add("NAME", arguments->names, "A variable, an element or a member").required();
    addForOption(*word, arguments->seconds, "End after this");
    addJsonFlag(*word, arguments->wantsJson, kJsonText);
    return { word, [arguments](const RunOptions &options) {
                return WatchRun(options, arguments->names, millisecondsOf(arguments->seconds),
                                formOf(arguments->wantsJson))
                    .run();
            } };
}

Command varsCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("vars", "Show all variables of the program");
    word->explain({ "Structures are unfolded. Of a list the first 256 elements are shown.",
                    { { "arkctl vars", "" }, { "arkctl vars volume", "those with it in their name" } } });
    const auto arguments = std::make_shared<ValueArguments>();
    word->add("FILTER", arguments->name, "Only names in which this occurs, in capitals or not");
    addJsonFlag(*word, arguments->wantsJson, kJsonText);
    return { word, [arguments](const RunOptions &options) {
                return ValuesRun(options, { { "ask", "vars" }, { "filter", arguments->name }, { "after", 0 } },
                                 formOf(arguments->wantsJson))
                    .run();
            } };
}
