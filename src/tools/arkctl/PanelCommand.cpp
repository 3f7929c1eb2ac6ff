#include "tools/arkctl/PanelCommand.h"
#include <QDateTime>
#include <QTimer>

namespace {
constexpr int kPanelType = 1;
}

PanelCommand::PanelCommand(const RunOptions &options, int device, const PanelScript &script, std::optional<int> watchMs,
                           Rendering::Form form, const QByteArray &version)
    : LinkRun({ kPanelType, device, "arkctl", version }, options)
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
