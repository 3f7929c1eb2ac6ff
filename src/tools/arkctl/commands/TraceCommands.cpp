#include "tools/arkctl/Command.h"
#include "tools/arkctl/SinceTime.h"
#include "tools/arkctl/TraceTree.h"
#include "tools/arkctl/commands/ProgramQuestion.h"

#include <QDateTime>
#include <QTimer>

#include <unistd.h>

namespace {
using Json = ProgramQuestion::Json;

struct TraceWish
{
    TraceFilter filter;
    std::optional<qint64> sinceMs; // nothing and no last: from now on
    std::optional<int> last;       // trees of the past, the newest
    bool follows = true;
    std::optional<int> durationMs;
    Rendering::Form form = Rendering::Form::Text;
};

/// Asks again and again for what has come since.
class TraceRun : public ProgramQuestion
{
public:
    TraceRun(const RunOptions &options, TraceWish wish)
        : ProgramQuestion(options)
        , m_wish(std::move(wish))
        , m_hasColours(::isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR"))
    {}

protected:
    void begin() override
    {
        if (m_wish.durationMs) {
            QTimer::singleShot(*m_wish.durationMs, this, [this] { finish(Outcome::Done); });
        }
        constexpr qint64 kFuture = 1LL << 50; // no event has that number: only where the trace ends is told
        m_next = m_wish.sinceMs || m_wish.last ? 0 : kFuture;
        askMore();
    }

    void take(const Json &answer) override
    {
        if (m_isFirst && m_wish.sinceMs) { // by the controller's clock
            const qint64 now = answer.value("now", QDateTime::currentMSecsSinceEpoch());
            m_wish.filter.since = QDateTime::fromMSecsSinceEpoch(now - *m_wish.sinceMs)
                                      .toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz"))
                                      .toStdString();
        }
        m_isFirst = false;
        if (answer.value("lost", false)) {
            console().print("… what came next is no longer kept");
        }
        m_next = answer.value("next", qint64(0));
        for (TraceTree &tree : TraceTree::of(answer.value("events", Json::array()))) {
            if (tree.passes(m_wish.filter)) {
                m_isAtPresent || !m_wish.last ? show(tree) : keep(std::move(tree));
            }
        }
        if (!answer.value("isAll", true)) {
            askMore();
            return;
        }
        m_isAtPresent = true;
        for (const TraceTree &tree : m_kept) {
            show(tree);
        }
        m_kept.clear();
        if (!m_wish.follows) {
            finish(Outcome::Done);
            return;
        }
        constexpr int kPauseMs = 200;
        QTimer::singleShot(kPauseMs, this, [this] { askMore(); });
    }

private:
    void askMore() { ask({ { "ask", "trace" }, { "after", m_next } }); }

    void keep(TraceTree tree)
    {
        m_kept.push_back(std::move(tree));
        if (m_kept.size() > static_cast<size_t>(*m_wish.last)) {
            m_kept.erase(m_kept.begin());
        }
    }

    void show(const TraceTree &tree)
    {
        if (m_wish.form == Rendering::Form::Text) {
            for (const std::string &line : tree.lines(m_hasColours)) {
                console().print(line);
            }
            return;
        }
        for (const Json &event : tree.events()) {
            console().print(dump(event));
        }
    }

    TraceWish m_wish;
    const bool m_hasColours;
    qint64 m_next = 0;
    bool m_isFirst = true;
    bool m_isAtPresent = false;
    std::vector<TraceTree> m_kept;
};

class WhyRun : public ProgramQuestion
{
public:
    WhyRun(const RunOptions &options, int device, int channel, Rendering::Form form)
        : ProgramQuestion(options)
        , m_question{ { "ask", "why" }, { "device", device }, { "channel", channel } }
        , m_form(form)
    {}

protected:
    void begin() override { ask(m_question); }

    void take(const Json &answer) override
    {
        const Json sentences = answer.value("sentences", Json::array());
        if (m_form == Rendering::Form::Json) {
            console().print(dump(Json{ { "sentences", sentences } }));
        } else {
            for (const Json &sentence : sentences) {
                if (sentence.is_string()) {
                    console().print(Rendering::escaped(QByteArray::fromStdString(sentence.get<std::string>())));
                }
            }
        }
        finish(Outcome::Done);
    }

private:
    const Json m_question;
    const Rendering::Form m_form;
};

struct TraceArguments
{
    TraceFilter filter;
    std::string since;
    std::string slow;
    bool endsWithPast = false;
    std::optional<int> last;
    std::optional<int> channel;
    std::optional<double> seconds;
    bool wantsJson = false;
};

/// "20ms", "1.5s", "300us" in microseconds; nothing when it is none.
std::optional<long long> microsecondsOf(const std::string &text)
{
    static const std::pair<const char *, double> kUnits[] = { { "us", 1 }, { "ms", 1e3 }, { "s", 1e6 } };
    for (const auto &[unit, factor] : kUnits) {
        const QString word = QString::fromStdString(text);
        if (word.endsWith(QLatin1String(unit))) {
            bool converts = false;
            const double number =
                word.chopped(static_cast<int>(std::char_traits<char>::length(unit))).toDouble(&converts);
            return converts && number >= 0 && number < 1e9 ? std::optional(static_cast<long long>(number * factor))
                                                           : std::nullopt;
        }
    }
    return std::nullopt;
}

Outcome runTrace(const TraceArguments &arguments, const RunOptions &options)
{
    TraceWish wish;
    wish.filter = arguments.filter;
    wish.filter.channel = arguments.channel;
    if (!arguments.slow.empty()) {
        wish.filter.micros = microsecondsOf(arguments.slow);
        if (!wish.filter.micros) {
            return wrongUse("not a time such as 20ms: \"" + arguments.slow + '"');
        }
    }
    if (!arguments.since.empty()) {
        const auto since = parseSince(arguments.since, QDateTime::currentDateTime());
        if (const auto *fault = std::get_if<std::string>(&since)) {
            return wrongUse(*fault);
        }
        wish.sinceMs = std::get<qint64>(since);
    }
    wish.last = arguments.last;
    wish.follows = !arguments.endsWithPast;
    if (arguments.endsWithPast && !wish.sinceMs && !wish.last) {
        return wrongUse("--no-follow needs --since WHEN or --last N");
    }
    wish.durationMs = millisecondsOf(arguments.seconds);
    wish.form = formOf(arguments.wantsJson);
    return TraceRun(options, wish).run();
}

struct WhyArguments
{
    int device = 0;
    int channel = 0;
    bool wantsJson = false;
};
} // namespace

Command traceCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("trace", "Show what happens and what the program makes of it");
    word->explain(
        { R"(Each event with the handlers that ran, and what they switched, sent, changed and began, a line each, with its place in the source. An event that nobody took says what in the program comes nearest.
"from #12" names the event that began a wait or sent what this is the answer to. A program built with --no-places has no places.)",
          { { "arkctl trace --device dvPanel", "what its buttons do" },
            { "arkctl trace --last 20 --no-follow", "the newest, and end" },
            { "arkctl trace --since 10m --slow 20ms", "what took long" },
            { "arkctl trace --handler room.src:42", "" } } });
    const auto arguments = std::make_shared<TraceArguments>();
    word->add("--device", arguments->filter.device, "Only events of a device: name, number or address").named("DEVICE");
    word->add("--channel", arguments->channel, "Only events of a channel or level").named("NUMBER");
    word->add("--handler", arguments->filter.place, "Only events that ran a line of the source").named("FILE[:LINE]");
    word->add("--slow", arguments->slow, "Only events with a handler that took at least this long: 20ms").named("TIME");
    word->add("--since", arguments->since, "The past first: 90s, 10m, 2h, 14:05").named("WHEN");
    word->add("--last", arguments->last, "The past first: the newest N events").named("N").between(1, 100000);
    word->addFlag("--no-follow", arguments->endsWithPast, "End after the past");
    addForOption(*word, arguments->seconds, "End after this");
    addJsonFlag(*word, arguments->wantsJson, "One JSON object per event, with its steps in a list");
    return { word, [arguments](const RunOptions &options) { return runTrace(*arguments, options); } };
}

Command whyCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("why", "Explain the last push of a button");
    word->explain({ "Says whether the push came in, who took it and what that did, or why nobody did.",
                    { { "arkctl why 10001 5", "" } } });
    const auto arguments = std::make_shared<WhyArguments>();
    word->add("DEVICE", arguments->device, "The panel's device number").required();
    word->add("CHANNEL", arguments->channel, "The button's channel").required();
    addJsonFlag(*word, arguments->wantsJson, "A JSON object with the sentences in a list");
    return { word, [arguments](const RunOptions &options) {
                return WhyRun(options, arguments->device, arguments->channel, formOf(arguments->wantsJson)).run();
            } };
}
