#include "tools/arkctl/PanelCommand.h"
#include "tools/arkctl/Command.h"
#include <QDateTime>
#include <QTimer>

PanelCommand::PanelCommand(const RunOptions &options, int device, const PanelScript &script, std::optional<int> watchMs,
                           Rendering::Form form)
    : LinkRun(panel(device), options)
    , m_script(script)
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
}

void PanelCommand::begin()
{
    next();
}

void PanelCommand::next()
{
    m_patience->stop();
    if (m_next == m_script.actions.size()) {
        if (!m_script.watches) {
            finish(Outcome::Done);
        } else if (m_watchMs) {
            QTimer::singleShot(*m_watchMs, this, [this] { finish(Outcome::Done); });
        }
        return;
    }
    const PanelAction &action = m_script.actions.at(m_next++);
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
    }
    m_patience->start();
}

void PanelCommand::take(const LinkMessage &message)
{
    m_state.take(message);
    m_state.answer(message, client());
    if (m_script.watches) {
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
};

Outcome runPanel(const PanelArguments &arguments, const RunOptions &options)
{
    const auto parsed = parsePanelScript(arguments.words);
    if (const auto *fault = std::get_if<std::string>(&parsed)) {
        return wrongUse(*fault);
    }
    const PanelScript &script = std::get<PanelScript>(parsed);
    if (arguments.watchSeconds && !script.watches) {
        return wrongUse("--for needs the action watch");
    }
    return PanelCommand(options, arguments.device, script, millisecondsOf(arguments.watchSeconds),
                        formOf(arguments.wantsJson))
        .run();
}
} // namespace

Command panelCommand(CLI::App &app)
{
    CLI::App *const word = app.add_subcommand("panel", "Act as a touch panel: one action after the other");
    CommandLine::explain(*word,
                         { "Each action waits until the controller has confirmed the one before. watch shows what "
                           "the panel is told, until it is interrupted.",
                           { { "arkctl panel 10001 press 5", "push and release button 5" },
                             { "arkctl panel 10001 level 1 200 watch", "move slider 1, then watch" } } });
    const auto arguments = std::make_shared<PanelArguments>();
    word->add_option("DEVICE", arguments->device, "The panel's device number")->required()->check(CLI::Range(1, 65535));
    word->add_option("ACTION", arguments->words,
                     "push CHANNEL | release CHANNEL | press CHANNEL | level LEVEL VALUE | watch")
        ->required()
        ->check(CommandLine::suggests({ "push", "release", "press", "level", "watch" }));
    addForOption(*word, arguments->watchSeconds, "Watch no longer than this");
    addJsonFlag(*word, arguments->wantsJson, "Show what comes as one JSON object per line");
    return { word, [arguments](const RunOptions &options) { return runPanel(*arguments, options); } };
}
