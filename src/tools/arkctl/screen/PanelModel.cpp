#include "tools/arkctl/screen/PanelModel.h"
#include "tools/arkctl/screen/MentionedCodes.h"
#include "tools/arkctl/screen/ScreenText.h"

#include <algorithm>
#include <limits>

namespace {
constexpr size_t kMostCodes = 4000; // a controller that names more is not shown more
constexpr int kLongestLabel = 100;  // characters
constexpr int kRepeatMs = 120;      // keyboards repeat faster than that, fingers do not

/// Adds a code in its place; the selection stays on the code it was on.
void addCode(std::vector<int> &codes, int code, int &selected)
{
    const auto at = std::lower_bound(codes.begin(), codes.end(), code);
    if (codes.size() >= kMostCodes || (at != codes.end() && *at == code)) {
        return;
    }
    if (!codes.empty() && at - codes.begin() <= selected) {
        ++selected;
    }
    codes.insert(at, code);
}

int clampedPlace(int place, const std::vector<int> &codes)
{
    return std::clamp(place, 0, std::max(0, static_cast<int>(codes.size()) - 1));
}

QString textOf(const QByteArray &bytes)
{
    const QString oneLine = QString::fromUtf8(bytes).simplified(); // panels break lines in labels
    return ScreenText::printable(ScreenText::start(oneLine, kLongestLabel));
}
} // namespace

PanelModel::PanelModel(Setup setup)
    : m_setup(std::move(setup))
{
    m_setup.controller = ScreenText::printable(m_setup.controller);
}

bool PanelModel::isUsable(int channel) const
{
    return m_state.property(channel, "enable") != "0" && m_state.property(channel, "visible") != "0";
}

QString PanelModel::label(int channel) const
{
    const int state = m_state.status(channel) + 1; // states count from 1, which is unlit
    for (const QByteArray &text : { m_state.stateProperty(channel, state, "text"),
                                    m_state.stateProperty(channel, 1, "text"), m_state.property(channel, "name") }) {
        if (!text.isEmpty()) {
            return textOf(text);
        }
    }
    return {};
}

int PanelModel::value(int level) const
{
    if (isSliding(level)) {
        return m_slide->value;
    }
    const qint64 value = m_state.level(level).value_or(m_setup.range.lowest);
    return static_cast<int>(
        std::clamp<qint64>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

LevelRange PanelModel::range(int level) const
{
    if (isSliding(level)) {
        return m_slide->range;
    }
    const int now = value(level);
    return { std::min(now, m_setup.range.lowest), std::max(now, m_setup.range.highest) };
}

void PanelModel::setLink(bool isConnected, const QString &text)
{
    m_isConnected = isConnected;
    m_linkText = ScreenText::printable(text);
}

void PanelModel::connected(QTime now)
{
    m_state.forgetFeedback();
    m_notice.clear();
    note(now, QStringLiteral("connected"));
}

void PanelModel::lost(QTime now, const QString &why)
{
    const bool hadHeld = !m_held.empty() || m_finger;
    m_held.clear();
    m_finger.reset();
    m_slide.reset();
    note(now, QStringLiteral("connection lost: %1%2")
                  .arg(why, hadHeld ? QStringLiteral("; nothing is held any more") : QString()));
}

void PanelModel::take(QTime now, const LinkMessage &message)
{
    m_state.take(message);
    const MentionedCodes codes = codesMentionedIn(message);
    for (const int channel : codes.channels) {
        addButton(channel);
    }
    for (const int level : codes.levels) {
        addLevel(level);
    }
    m_log.addMessage(now, message);
}

PanelModel::Actions PanelModel::press(QTime now, int channel)
{
    if (isHeld(channel)) {
        return toggleHold(now, channel);
    }
    return tell(now, { { PanelAction::Kind::Push, channel }, { PanelAction::Kind::Release, channel } });
}

PanelModel::Actions PanelModel::toggleHold(QTime now, int channel)
{
    if (m_finger == channel) {
        return fingerUp(now);
    }
    if (!canTell()) {
        return {};
    }
    if (m_held.erase(channel) > 0) {
        return tell(now, { { PanelAction::Kind::Release, channel } });
    }
    m_held.insert(channel);
    return tell(now, { { PanelAction::Kind::Push, channel } });
}

bool PanelModel::isKeyRepeat(QTime now)
{
    const bool isRepeat = m_holdKeyAt && m_holdKeyAt->msecsTo(now) >= 0 && m_holdKeyAt->msecsTo(now) < kRepeatMs;
    m_holdKeyAt = now;
    return isRepeat;
}

PanelModel::Actions PanelModel::fingerDown(QTime now, int channel)
{
    if (!canTell()) {
        return {};
    }
    Actions actions = fingerUp(now); // a release that the terminal has not told
    m_finger = channel;
    if (m_held.erase(channel) == 0) {
        const Actions push = tell(now, { { PanelAction::Kind::Push, channel } });
        actions.insert(actions.end(), push.begin(), push.end());
    }
    return actions;
}

PanelModel::Actions PanelModel::fingerUp(QTime now)
{
    if (m_slide) {
        const Actions last = reportSlide(now);
        m_slide.reset();
        return last;
    }
    if (!m_finger) {
        return {};
    }
    const int channel = *m_finger;
    m_finger.reset();
    return tell(now, { { PanelAction::Kind::Release, channel } });
}

PanelModel::Actions PanelModel::slideFrom(QTime now, int level, int value)
{
    Actions actions = fingerUp(now); // as in fingerDown()
    const LevelRange range = this->range(level);
    const Actions report = setLevel(now, level, value);
    if (!report.empty()) {
        m_slide = { level, value, range, true };
        actions.insert(actions.end(), report.begin(), report.end());
    }
    return actions;
}

void PanelModel::slideTo(int value)
{
    if (m_slide && m_slide->value != value) {
        m_slide->value = value;
        m_slide->isTold = false;
    }
}

PanelModel::Actions PanelModel::reportSlide(QTime now)
{
    return m_slide && !m_slide->isTold ? setLevel(now, m_slide->level, m_slide->value) : Actions{};
}

PanelModel::Actions PanelModel::releaseAll(QTime now)
{
    Actions actions = fingerUp(now);
    Actions releases;
    for (const int channel : m_held) {
        releases.push_back({ PanelAction::Kind::Release, channel });
    }
    m_held.clear();
    if (!releases.empty()) {
        releases = tell(now, releases);
        actions.insert(actions.end(), releases.begin(), releases.end());
    }
    return actions;
}

PanelModel::Actions PanelModel::moveLevel(QTime now, int level, int step)
{
    const LevelRange limits = range(level);
    const qint64 wanted = std::clamp<qint64>(qint64(value(level)) + step, limits.lowest, limits.highest);
    return wanted == value(level) ? Actions{} : setLevel(now, level, static_cast<int>(wanted));
}

PanelModel::Actions PanelModel::setLevel(QTime now, int level, int value)
{
    const LevelRange limits = range(level);
    if (value < limits.lowest || value > limits.highest) {
        m_notice = QStringLiteral("level %1 goes from %2 to %3; --range sets this")
                       .arg(level)
                       .arg(limits.lowest)
                       .arg(limits.highest);
        return {};
    }
    Actions actions = tell(now, { { PanelAction::Kind::Level, level, value } });
    if (!actions.empty()) {
        addLevel(level);
        m_state.moveLevel(level, value);
        if (isSliding(level)) { // or a key has moved it meanwhile
            m_slide->value = value;
            m_slide->isTold = true;
        }
    }
    return actions;
}

void PanelModel::selectButton(int place)
{
    m_selectedButton = clampedPlace(place, m_setup.buttons);
    m_focus = Focus::Buttons;
}

void PanelModel::selectLevel(int place)
{
    if (m_setup.levels.empty()) {
        return;
    }
    m_selectedLevel = clampedPlace(place, m_setup.levels);
    m_focus = Focus::Levels;
}

void PanelModel::setShowsLogOnly(bool shows)
{
    m_showsLogOnly = shows;
    m_logShift = 0;
}

void PanelModel::shiftLog(int columns)
{
    constexpr int kFarthest = 2000; // two columns for each character of the longest line
    m_logShift = std::clamp(m_logShift + columns, 0, kFarthest);
}

void PanelModel::addButton(int channel)
{
    addCode(m_setup.buttons, channel, m_selectedButton);
}

void PanelModel::addLevel(int level)
{
    addCode(m_setup.levels, level, m_selectedLevel);
}

PanelModel::Actions PanelModel::tell(QTime now, const Actions &actions)
{
    if (!canTell()) {
        return {};
    }
    for (const PanelAction &action : actions) {
        m_log.addAction(now, action);
    }
    return actions;
}

bool PanelModel::canTell()
{
    if (!m_isConnected) {
        m_notice = QStringLiteral("not connected: nothing was sent");
    }
    return m_isConnected;
}
