#include "tools/arkctl/screen/PanelScreen.h"
#include <QCoreApplication>
#include <QTimer>

namespace {
constexpr int kDrawMs = 15;
constexpr int kCountdownMs = 250;
constexpr int kSlideMs = 50;     // between two reports of a level that is dragged
constexpr int kMostUnheard = 3;  // with more reports unconfirmed a dragged level waits
constexpr int kGoodbyeMs = 1000; // for the confirmation of the last releases

QTime now()
{
    return QTime::currentTime();
}
} // namespace

PanelScreen::PanelScreen(const RunOptions &options, const PanelModel::Setup &setup)
    : m_options(options)
    , m_model(setup)
    , m_shown(drawPanel(m_model, 0, 0))
    , m_console(new Console(this))
    , m_terminal(new Terminal(this))
    , m_link(new LastingLink(LinkRun::panel(setup.device), options, this))
    , m_drawing(new QTimer(this))
    , m_sliding(new QTimer(this))
    , m_countdown(new QTimer(this))
{
    m_drawing->setSingleShot(true);
    m_drawing->setInterval(kDrawMs);
    m_sliding->setSingleShot(true);
    m_sliding->setInterval(kSlideMs);
    m_countdown->setInterval(kCountdownMs);
    connect(m_drawing, &QTimer::timeout, this, &PanelScreen::draw);
    connect(m_sliding, &QTimer::timeout, this, &PanelScreen::reportSlide);
    connect(m_countdown, &QTimer::timeout, this, &PanelScreen::showLink);
    connect(m_console, &Console::stopRequested, this, &PanelScreen::leave);
    connect(m_terminal, &Terminal::keyPressed, this, &PanelScreen::takeKey);
    connect(m_terminal, &Terminal::resized, this, &PanelScreen::draw);
    connect(m_terminal, &Terminal::vanished, this, &PanelScreen::leave);
    connect(m_link, &LastingLink::connected, this, &PanelScreen::connected);
    connect(m_link, &LastingLink::lost, this, &PanelScreen::lost);
    connect(m_link, &LastingLink::attempted, this, &PanelScreen::showLink);
    connect(m_link, &LastingLink::neverConnected, this, &PanelScreen::neverConnected);
    connect(&m_link->client(), &LinkClient::received, this, &PanelScreen::takeMessage);
    connect(&m_link->client(), &LinkClient::abandoned, this, [this](int count) {
        m_model.note(now(), QStringLiteral("%1 of what was sent found no confirmation").arg(count));
        drawSoon();
    });
}

Outcome PanelScreen::run()
{
    if (!m_terminal->open(m_failure)) {
        Console::complain(m_failure, "name an action instead, such as push 5");
        return Outcome::Failed;
    }
    QTimer::singleShot(0, m_link, &LastingLink::start);
    QCoreApplication::exec();
    m_link->disconnect(this);
    m_terminal->close();
    if (!m_failure.empty()) {
        Console::complain(m_failure, m_advice);
        return Outcome::Failed;
    }
    return Outcome::Done;
}

void PanelScreen::takeKey(const Key &key)
{
    const KeyEffect effect = ::takeKey(key, now(), m_shown, m_model);
    send(effect.actions);
    if (!m_sliding->isActive()) {
        reportSlide();
    }
    drawSoon();
    if (effect.ends) {
        leave();
    }
}

/// As often as touch panels do, and never faster than the controller takes it. What is left out
/// is never the last value: fingerUp() tells that.
void PanelScreen::reportSlide()
{
    if (m_link->client().pendingMessages() > kMostUnheard) {
        m_sliding->start();
        return;
    }
    const PanelModel::Actions report = m_model.reportSlide(now());
    if (!report.empty()) {
        send(report);
        m_sliding->start();
        drawSoon();
    }
}

void PanelScreen::takeMessage(const LinkMessage &message)
{
    m_model.take(now(), message);
    m_model.state().answer(message, m_link->client());
    drawSoon();
}

void PanelScreen::connected()
{
    m_model.connected(now());
    showLink();
}

void PanelScreen::lost(const QString &why)
{
    m_model.lost(now(), why);
    showLink();
    if (m_isLeaving) {
        QCoreApplication::quit();
    }
}

void PanelScreen::neverConnected(const ConnectionFault &fault)
{
    m_failure = fault.what;
    m_advice = fault.tryThis;
    QCoreApplication::quit();
}

void PanelScreen::send(const PanelModel::Actions &actions)
{
    LinkClient &client = m_link->client();
    for (const PanelAction &action : actions) {
        switch (action.kind) {
        case PanelAction::Kind::Push:
            client.push(action.code);
            break;
        case PanelAction::Kind::Release:
            client.release(action.code);
            break;
        case PanelAction::Kind::Level:
            client.reportLevel(action.code, action.value);
            break;
        case PanelAction::Kind::Wait:
            break;
        }
    }
}

void PanelScreen::showLink()
{
    const LastingLink::State state = m_link->state();
    const bool isConnected = state == LastingLink::State::Connected;
    const int seconds = (m_link->pauseLeftMs() + 999) / 1000;
    m_model.setLink(isConnected, isConnected ? QStringLiteral("connected")
                                 : state == LastingLink::State::Connecting
                                     ? QStringLiteral("connecting")
                                     : QStringLiteral("connecting again in %1 s").arg(seconds));
    if (isConnected) {
        m_countdown->stop();
    } else if (!m_countdown->isActive()) {
        m_countdown->start();
    }
    drawSoon();
}

void PanelScreen::drawSoon()
{
    if (!m_drawing->isActive()) {
        m_drawing->start();
    }
}

void PanelScreen::draw()
{
    m_shown = drawPanel(m_model, m_terminal->columns(), m_terminal->rows());
    m_terminal->show(m_shown.canvas);
}

void PanelScreen::leave()
{
    if (m_isLeaving) {
        QCoreApplication::quit();
        return;
    }
    m_isLeaving = true;
    send(m_model.releaseAll(now()));
    LinkClient &client = m_link->client();
    if (m_link->state() != LastingLink::State::Connected || client.pendingMessages() == 0) {
        QCoreApplication::quit();
        return;
    }
    connect(&client, &LinkClient::acknowledged, this, [&client] {
        if (client.pendingMessages() == 0) {
            QCoreApplication::quit();
        }
    });
    QTimer::singleShot(kGoodbyeMs, this, [] { QCoreApplication::quit(); });
}
