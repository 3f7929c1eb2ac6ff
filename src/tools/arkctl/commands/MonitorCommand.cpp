#include "tools/arkctl/commands/MonitorCommand.h"
#include "base/Overloaded.h"
#include "tools/arkctl/Command.h"
#include "tools/arkctl/SinceTime.h"

#include <QDateTime>
#include <QTimer>

MonitorCommand::MonitorCommand(const RunOptions &options, const MonitorWish &wish)
    : LinkRun(tool(), options)
    , m_wish(wish)
    , m_at(wish.sinceMs ? At::Question : At::Present)
{
    connect(&client(), &LinkClient::received, this, [this](const LinkMessage &message) {
        if (message.kind == LinkMessage::Kind::MonitorLine) {
            takeLive({ QDateTime::currentDateTime(), static_cast<int>(message.number("type")),
                       QString::fromUtf8(message.field("text")) });
        } else if (message.kind == LinkMessage::Kind::TextReply) {
            if (const auto reply = MonitorPast::parse(message.body)) {
                takePast(*reply);
            }
        }
    });
}

void MonitorCommand::begin()
{
    if (m_wish.durationMs) {
        QTimer::singleShot(*m_wish.durationMs, this, [this] { finish(Outcome::Done); });
    }
    if (m_wish.sinceMs) {
        client().sendTextCommand("monitorhistory?" + QByteArray::number(*m_wish.sinceMs));
        awaitAnswer();
    }
}

void MonitorCommand::unanswered()
{
    fail("the controller at " + options().endpoint.text() + " does not answer the question for past lines",
         "it is of another version: leave --since out");
}

void MonitorCommand::takeLive(const Line &line)
{
    switch (m_at) {
    case At::Question:
        return;
    case At::Past:
        m_held.push_back(line);
        return;
    case At::Present:
        show(line);
        return;
    }
}

void MonitorCommand::takePast(const MonitorPast::Reply &reply)
{
    if (m_at == At::Present) {
        return; // not asked for
    }
    const Overloaded takers{
        [this](const MonitorPast::NotKept &) {
            fail("the controller at " + options().endpoint.text() + " keeps no past lines",
                 "start it with --monitor-history 5000");
        },
        [this](const MonitorPast::Seam &seam) { meetSeam(seam); },
        [this](const MonitorPast::Lines &lines) {
            for (const MonitorHistory::Line &line : lines) {
                show({ QDateTime::fromMSecsSinceEpoch(line.wallMs + m_clockAheadMs), line.type, line.text });
            }
            awaitAnswer();
        },
        [this](const MonitorPast::End &) { endPast(); },
    };
    std::visit(takers, reply);
}

void MonitorCommand::meetSeam(const MonitorPast::Seam &seam)
{
    m_at = At::Past;
    // Live lines have this machine's time, so those of the past get it too. A difference that small is the way here.
    constexpr qint64 kSameClockMs = 1000;
    const qint64 aheadMs = QDateTime::currentMSecsSinceEpoch() - seam.nowMs;
    m_clockAheadMs = std::abs(aheadMs) < kSameClockMs ? 0 : aheadMs;
    if (seam.lostUntilMs != 0 && seam.nowMs - seam.lostUntilMs <= *m_wish.sinceMs) {
        const QDateTime until = QDateTime::fromMSecsSinceEpoch(seam.lostUntilMs + m_clockAheadMs);
        Console::complain("lines up to " + until.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")).toStdString() +
                              " are no longer kept",
                          "a larger --monitor-history of the controller reaches back further");
    }
    awaitAnswer();
}

void MonitorCommand::endPast()
{
    answered();
    if (m_wish.afterPast == MonitorWish::Then::End) {
        finish(Outcome::Done);
        return;
    }
    m_at = At::Present;
    for (const Line &line : m_held) {
        show(line);
    }
    m_held.clear();
}

void MonitorCommand::show(const Line &line)
{
    if (m_wish.filter.shows(line.type, line.text)) {
        console().print(Rendering::monitorLine(m_wish.form, line.when, line.type, line.text, m_wish.hex));
    }
}

namespace {
struct MonitorArguments
{
    MonitorFilterWords filter;
    std::string since;
    std::optional<double> seconds;
    bool endsWithPast = false;
    bool wantsHex = false;
    bool wantsJson = false;
};

Outcome runMonitor(const MonitorArguments &arguments, const RunOptions &options)
{
    MonitorWish wish;
    const auto filter = parseMonitorFilter(arguments.filter);
    if (const auto *fault = std::get_if<std::string>(&filter)) {
        return wrongUse(*fault);
    }
    wish.filter = std::get<MonitorFilter>(filter);
    if (!arguments.since.empty()) {
        const auto since = parseSince(arguments.since, QDateTime::currentDateTime());
        if (const auto *fault = std::get_if<std::string>(&since)) {
            return wrongUse(*fault);
        }
        wish.sinceMs = std::get<qint64>(since);
    } else if (arguments.endsWithPast) {
        return wrongUse("--no-follow needs --since WHEN");
    }
    wish.afterPast = arguments.endsWithPast ? MonitorWish::Then::End : MonitorWish::Then::Follow;
    wish.durationMs = millisecondsOf(arguments.seconds);
    wish.form = formOf(arguments.wantsJson);
    wish.hex = arguments.wantsHex ? Rendering::Hex::Too : Rendering::Hex::WhereNoText;
    return MonitorCommand(options, wish).run();
}

std::string typesText()
{
    std::string text = "Only lines of these types:";
    for (const std::string &name : Rendering::monitorTypeNames()) {
        text += ' ' + name;
    }
    return text;
}

void addTypes(CommandLine::Word &word, const char *name, std::vector<std::string> &types,
              const std::string &description)
{
    word.add(name, types, description)
        .named("TYPE,...")
        .partedByCommas()
        .oneValueEach()
        .oneOf(Rendering::monitorTypeNames());
}
} // namespace

Command monitorCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word = app.addWord("monitor", "Show the controller's monitor lines as they come");
    word->explain({ R"(Goes on until it is interrupted, and shows the lines that all conditions hold for.
--since needs a controller started with --monitor-history; its lines come first, by this machine's clock.)",
                    { { "arkctl monitor --type error,warning", "what went wrong" },
                      { "arkctl monitor --since 10m --text projector", "and go on" },
                      { "arkctl monitor --since 14:05 --no-follow", "and end" },
                      { "arkctl monitor --regex 'Error|Warning' --for 60", "for a minute" } } });
    const auto arguments = std::make_shared<MonitorArguments>();
    addTypes(*word, "--type", arguments->filter.types, typesText());
    addTypes(*word, "--not-type", arguments->filter.otherTypes, "No lines of these types");
    word->add("--text", arguments->filter.text, "Only lines in which TEXT occurs, in capitals or not").named("TEXT");
    word->add("--regex", arguments->filter.regex, "Only lines that a regular expression finds something in")
        .named("PATTERN");
    word->add("--since", arguments->since, "The past first: 90s, 10m, 2h, 14:05, \"2026-11-23 14:05\"").named("WHEN");
    word->addFlag("--no-follow", arguments->endsWithPast, "End after the lines of the past");
    word->addFlag("--hex", arguments->wantsHex, "Bytes that are text in hexadecimal too");
    addForOption(*word, arguments->seconds, "End after this");
    addJsonFlag(*word, arguments->wantsJson, "One JSON object per line: time, type, name, text");
    return { word, [arguments](const RunOptions &options) { return runMonitor(*arguments, options); } };
}
