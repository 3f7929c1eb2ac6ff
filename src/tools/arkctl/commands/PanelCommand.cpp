#include "tools/arkctl/commands/PanelCommand.h"
#include "tools/arkctl/Command.h"
#include "tools/arkctl/LineInput.h"
#include "tools/arkctl/screen/PanelScreen.h"

#include <QDateTime>
#include <QTimer>

PanelCommand::PanelCommand(const RunOptions &options, int device, const PanelScript &script, std::optional<int> watchMs,
                           Rendering::Form form)
    : LinkRun(panel(device), options)
    , m_actions(script.actions.begin(), script.actions.end())
    , m_watches(script.watches)
    , m_watchMs(watchMs)
    , m_form(form)
    , m_patience(new QTimer(this))
{
    m_patience->setSingleShot(true);
    m_patience->setInterval(options.timeoutMs);
    const auto giveUp = [this] {
        fail("the controller at " + this->options().endpoint.text() + " does not acknowledge",
             "see whether it is overloaded, and try again");
    };
    connect(m_patience, &QTimer::timeout, this, giveUp);
    connect(&client(), &LinkClient::abandoned, this, giveUp);
    connect(&client(), &LinkClient::received, this, &PanelCommand::take);
    connect(&client(), &LinkClient::acknowledged, this, [this](quint32 messageId) {
        if (messageId == m_awaitedId) {
            next();
        }
    });
    if (script.readsInput) {
        m_input = new LineInput(this);
        connect(m_input, &LineInput::line, this, &PanelCommand::takeLine);
        connect(m_input, &LineInput::ended, this, &PanelCommand::end);
        connect(m_input, &LineInput::failed, this, [this](const std::string &why) {
            fail("standard input: " + why, "one action on each line, such as push 5");
        });
    }
}

void PanelCommand::begin()
{
    next();
}

void PanelCommand::next()
{
    m_patience->stop();
    if (!m_actions.empty()) {
        const PanelAction action = m_actions.front();
        m_actions.pop_front();
        perform(action);
    } else if (m_input) {
        m_input->ask();
    } else {
        end();
    }
}

void PanelCommand::perform(const PanelAction &action)
{
    switch (action.kind) {
    case PanelAction::Kind::Push:
        m_awaitedId = client().push(action.code);
        break;
    case PanelAction::Kind::Release:
        m_awaitedId = client().release(action.code);
        break;
    case PanelAction::Kind::Level:
        m_awaitedId = client().reportLevel(action.code, action.value);
        break;
    case PanelAction::Kind::Wait:
        QTimer::singleShot(action.value, this, &PanelCommand::next);
        return;
    }
    m_patience->start();
}

void PanelCommand::end()
{
    if (!m_watches) {
        finish(Outcome::Done);
    } else if (m_watchMs) {
        QTimer::singleShot(*m_watchMs, this, [this] { finish(Outcome::Done); });
    }
}

void PanelCommand::takeLine(const std::string &line)
{
    const auto parsed = parsePanelLine(line);
    if (const auto *fault = std::get_if<std::string>(&parsed)) {
        Console::complain("line " + std::to_string(m_input->lineNumber()) + ": " + *fault,
                          "the lines before it are done, those after it are not");
        finish(Outcome::WrongUse);
        return;
    }
    const PanelScript &script = std::get<PanelScript>(parsed);
    m_actions.assign(script.actions.begin(), script.actions.end());
    m_watches = m_watches || script.watches;
    // From the event loop: a long row of empty lines must not call itself deeper and deeper.
    QTimer::singleShot(0, this, &PanelCommand::next);
}

void PanelCommand::take(const LinkMessage &message)
{
    m_state.take(message);
    m_state.answer(message, client());
    if (m_watches) {
        console().print(Rendering::panelMessage(m_form, QDateTime::currentDateTime(), message));
    }
}

namespace {
struct PanelArguments
{
    int device = 0;
    std::vector<std::string> words;
    std::optional<double> watchSeconds;
    bool wantsJson = false;
    std::optional<std::string> buttons;
    std::optional<std::string> levels;
    std::optional<std::string> range;

    bool hasScreenOptions() const { return buttons || levels || range; }
};

constexpr auto kDefaultButtons = "1-24";
constexpr auto kDefaultLevels = "1-4";

Outcome runScript(const PanelArguments &arguments, const RunOptions &options)
{
    const auto parsed = parsePanelScript(arguments.words);
    if (const auto *fault = std::get_if<std::string>(&parsed)) {
        return wrongUse(*fault);
    }
    const PanelScript &script = std::get<PanelScript>(parsed);
    if (arguments.hasScreenOptions()) {
        return wrongUse("--buttons, --levels and --range are for the screen, which has no actions");
    }
    if (arguments.watchSeconds && !script.watches) {
        return wrongUse("--for needs the action watch");
    }
    return PanelCommand(options, arguments.device, script, millisecondsOf(arguments.watchSeconds),
                        formOf(arguments.wantsJson))
        .run();
}

Outcome runScreen(const PanelArguments &arguments, const RunOptions &options)
{
    if (arguments.watchSeconds || arguments.wantsJson) {
        return wrongUse("--for and --json need the action watch");
    }
    PanelModel::Setup setup;
    setup.device = arguments.device;
    setup.controller = QString::fromStdString(options.endpoint.text());
    for (auto [text, codes] : { std::pair(arguments.buttons.value_or(kDefaultButtons), &setup.buttons),
                                std::pair(arguments.levels.value_or(kDefaultLevels), &setup.levels) }) {
        const auto parsed = parseCodeList(text);
        if (const auto *fault = std::get_if<std::string>(&parsed)) {
            return wrongUse(*fault);
        }
        *codes = std::get<std::vector<int>>(parsed);
    }
    if (arguments.range) {
        const auto parsed = parseLevelRange(*arguments.range);
        if (const auto *fault = std::get_if<std::string>(&parsed)) {
            return wrongUse(*fault);
        }
        setup.range = std::get<LevelRange>(parsed);
    }
    if (!Terminal::isThere()) {
        return wrongUse("without an action the panel is a screen, and this is no terminal: name an action, or -");
    }
    return PanelScreen(options, setup).run();
}

Outcome runPanel(const PanelArguments &arguments, const RunOptions &options)
{
    return arguments.words.empty() ? runScreen(arguments, options) : runScript(arguments, options);
}

constexpr auto kActions = "push CHANNEL, release CHANNEL, press CHANNEL (both), level LEVEL VALUE, wait SECONDS, "
                          "watch (until interrupted), - (the lines of standard input, # begins a comment)";

CommandLine::Explanation panelExplanation()
{
    return { "Without an ACTION the terminal becomes the panel: buttons, levels and a log; ? shows its keys. ACTIONs "
             "are done "
             "one after the other, each when the controller has confirmed the one before.",
             { { "arkctl panel 10001", "the panel on the terminal" },
               { "arkctl panel 10001 --buttons 1-12,101", "with these buttons" },
               { "arkctl panel 10001 press 5", "push and release button 5" },
               { "arkctl panel 10001 push 21 wait 1.5 release 21", "hold it for a while" },
               { "arkctl panel 10001 level 1 200 watch --for 10", "and see what comes" },
               { "arkctl panel 10001 watch - < evening.txt", "the actions of a file" } } };
}
} // namespace

Command panelCommand(CommandLine::Word &app)
{
    CommandLine::Word *const word =
        app.addWord("panel", "Be a touch panel: a screen on the terminal, or one action after the other");
    word->explain(panelExplanation());
    const auto arguments = std::make_shared<PanelArguments>();
    word->add("DEVICE", arguments->device, "The panel's device number").required().between(1, 65535);
    word->add("ACTION", arguments->words, kActions)
        .suggests({ "push", "release", "press", "level", "wait", "watch", "-" });
    word->add("--buttons", arguments->buttons, "Which buttons the screen has at first (1-24)").named("LIST");
    word->add("--levels", arguments->levels, "Which levels it has at first (1-4)").named("LIST");
    word->add("--range", arguments->range, "From where to where they go (0-255)").named("LOW-HIGH");
    addForOption(*word, arguments->watchSeconds, "Watch no longer than this");
    addJsonFlag(*word, arguments->wantsJson, "Show what comes as one JSON object per line");
    return { word, [arguments](const RunOptions &options) { return runPanel(*arguments, options); } };
}
