#include "tools/arkctl/screen/PanelKeys.h"
#include "tools/arkctl/screen/PanelPicture.h"

#include <algorithm>

namespace {
using Actions = PanelModel::Actions;
using Area = PanelPicture::Area;
using Focus = PanelModel::Focus;
using Kind = Key::Kind;

constexpr int kStep = 1;
constexpr int kBigStep = 10;
constexpr int kWheelStep = 5;
constexpr int kWheelLines = 3;
constexpr int kMostDigits = 9;
constexpr int kHighestChannel = 65535;
constexpr char32_t kControlC = 0x03; // where the terminal makes no signal of it

int indexOf(const std::vector<int> &codes, int code)
{
    return static_cast<int>(std::lower_bound(codes.begin(), codes.end(), code) - codes.begin());
}

std::optional<int> codeAt(const std::vector<int> &codes, int index)
{
    return codes.empty() ? std::nullopt : std::optional(codes.at(static_cast<size_t>(index)));
}

/// Where in the range of a level that column of its bar stands; beyond the bar its ends.
int valueAt(const Area &bar, const LevelRange &range, int column)
{
    const qint64 span = qint64(range.highest) - range.lowest;
    const int steps = std::max(1, bar.columns - 1);
    return static_cast<int>(range.lowest + span * std::clamp(column - bar.column, 0, steps) / steps);
}

/// A key and all that it can act on.
struct Stroke
{
    const Key &key;
    const QTime now;
    const PanelPicture &shown;
    PanelModel &model;
    bool ends = false;

    Actions take();
    Actions takePanelKey();
    Actions takeCharacter();
    Actions takeSpace();
    Actions takeEnter();
    Actions takeArrow();
    Actions takePageKey(int direction); // 1 up, -1 down
    bool takesEndOfLog();               // where it was scrolled back: it no longer is
    Actions takeLogKey();               // while the log is shown alone: nothing is pushed that one does not see

    Actions takeMouseDown();
    Actions takeMouseUp();
    Actions takeWheel(int direction); // 1 up, -1 down
    void dragLevel();                 // the level that the mouse took hold of follows it, also beside its bar

    void moveBetweenButtons();
    Actions moveBetweenLevels();
    Actions moveLevel(int step);                // the selected one
    std::optional<int> typedOrSelectedButton(); // the typed number becomes the selected button
    void pageLog(int direction);                // 1 to newer lines, -1 to older ones
    bool atLevels() const { return model.focus() == Focus::Levels; }
    std::optional<int> selectedLevel() const { return codeAt(model.setup().levels, model.selectedLevel()); }
};

Actions Stroke::take()
{
    if (key.kind == Kind::MouseMove) {
        dragLevel();
        return {};
    }
    if (key.kind == Kind::MouseUp) {
        return takeMouseUp();
    }
    model.setNotice({});
    ends = key.kind == Kind::Character && key.character == kControlC;
    if (model.showsHelp()) {
        shown.nextHelp > 0 ? model.showHelp(shown.nextHelp) : model.closeHelp();
        return {};
    }
    return model.showsLogOnly() ? takeLogKey() : takePanelKey();
}

Actions Stroke::takePanelKey()
{
    switch (key.kind) {
    case Kind::Character:
        return takeCharacter();
    case Kind::Enter:
        return takeEnter();
    case Kind::End:
        return takesEndOfLog() ? Actions{} : takeArrow();
    case Kind::Up:
    case Kind::Down:
    case Kind::Left:
    case Kind::Right:
    case Kind::Home:
        return takeArrow();
    case Kind::PageUp:
        return takePageKey(1);
    case Kind::PageDown:
        return takePageKey(-1);
    case Kind::Tab:
        model.setTypedNumber({});
        model.setFocus(atLevels() || model.setup().levels.empty() ? Focus::Buttons : Focus::Levels);
        return {};
    case Kind::Escape:
        model.setTypedNumber({});
        model.showNewestLog();
        return {};
    case Kind::Backspace:
        model.setTypedNumber(model.typedNumber().left(model.typedNumber().size() - 1));
        return {};
    case Kind::MouseDown:
        return takeMouseDown();
    case Kind::WheelUp:
        return takeWheel(1);
    case Kind::WheelDown:
        return takeWheel(-1);
    case Kind::MouseMove: // both belong to the stroke before
    case Kind::MouseUp:
    case Kind::Other:
        return {};
    }
    Q_UNREACHABLE();
}

Actions Stroke::takeCharacter()
{
    if (key.character >= U'0' && key.character <= U'9') {
        if (model.typedNumber().size() < kMostDigits) {
            model.setTypedNumber(model.typedNumber() + QChar(static_cast<ushort>(key.character)));
        }
        return {};
    }
    switch (key.character) {
    case U' ':
        return takeSpace();
    case U'+':
    case U'=': // the same key without Shift
        return moveLevel(kStep);
    case U'-':
        return moveLevel(-kStep);
    case U'?':
    case U'h':
        model.showHelp(0);
        return {};
    case U'l':
        model.setShowsLogOnly(true);
        return {};
    case U'q':
    case U'Q':
        ends = true;
        return {};
    default:
        return {};
    }
}

Actions Stroke::takeSpace()
{
    if (model.isKeyRepeat(now)) {
        return {};
    }
    const std::optional<int> channel = typedOrSelectedButton();
    return channel ? model.toggleHold(now, *channel) : Actions{};
}

Actions Stroke::takeEnter()
{
    const QString typed = model.typedNumber();
    const std::optional<int> level = selectedLevel();
    if (atLevels() && level && !typed.isEmpty()) {
        model.setTypedNumber({});
        return model.setLevel(now, *level, typed.toInt());
    }
    const std::optional<int> channel = typedOrSelectedButton();
    return channel ? model.press(now, *channel) : Actions{};
}

Actions Stroke::takeArrow()
{
    model.setTypedNumber({});
    if (atLevels()) {
        return moveBetweenLevels();
    }
    moveBetweenButtons();
    return {};
}

Actions Stroke::takePageKey(int direction)
{
    if (atLevels()) {
        return moveLevel(direction * kBigStep);
    }
    pageLog(-direction);
    return {};
}

bool Stroke::takesEndOfLog()
{
    const bool isBack = model.logWindow(shown.logRows).newer > 0;
    model.showNewestLog();
    return isBack;
}

Actions Stroke::takeLogKey()
{
    switch (key.kind) {
    case Kind::Up:
    case Kind::Down:
        model.scrollLog(shown.logRows, key.kind == Kind::Up ? -1 : 1);
        return {};
    case Kind::PageUp:
    case Kind::PageDown:
        pageLog(key.kind == Kind::PageUp ? -1 : 1);
        return {};
    case Kind::Left:
    case Kind::Right:
        model.shiftLog((key.kind == Kind::Left ? -shown.canvas.columns() : shown.canvas.columns()) / 2);
        return {};
    case Kind::Home:
        model.showOldestLog(shown.logRows);
        return {};
    case Kind::End:
        model.showNewestLog();
        return {};
    case Kind::Escape:
        model.showNewestLog();
        model.setShowsLogOnly(false);
        return {};
    case Kind::WheelUp:
    case Kind::WheelDown:
        return takeWheel(key.kind == Kind::WheelUp ? 1 : -1);
    case Kind::Character:
        if (key.character == U'l' || key.character == U'q') { // q closes what is on top
            model.setShowsLogOnly(false);
        } else if (key.character == U'?') {
            model.showHelp(0);
        }
        return {};
    default:
        return {};
    }
}

Actions Stroke::takeMouseDown()
{
    const Area *const area = shown.areaAt(key.row, key.column);
    if (!area || area->kind == Area::Kind::Log) {
        return model.fingerUp(now); // a release that the terminal has not told
    }
    // The model may have grown since: what counts is the code.
    if (area->kind == Area::Kind::Button) {
        model.selectButton(indexOf(model.setup().buttons, area->code));
        return model.fingerDown(now, area->code);
    }
    model.selectLevel(indexOf(model.setup().levels, area->code));
    return model.slideFrom(now, area->code, valueAt(*area, model.range(area->code), key.column));
}

Actions Stroke::takeMouseUp()
{
    dragLevel();
    return model.fingerUp(now);
}

Actions Stroke::takeWheel(int direction)
{
    const Area *const area = shown.areaAt(key.row, key.column);
    if (area && area->kind == Area::Kind::Level) {
        return model.moveLevel(now, area->code, direction * kWheelStep);
    }
    if (area && area->kind == Area::Kind::Log) {
        model.scrollLog(shown.logRows, -direction * kWheelLines);
        return {};
    }
    model.selectButton(model.selectedButton() - direction * shown.gridColumns);
    return {};
}

void Stroke::dragLevel()
{
    const std::optional<int> level = model.slidingLevel();
    const Area *const bar = level ? shown.areaOf(Area::Kind::Level, *level) : nullptr;
    if (bar) {
        model.slideTo(valueAt(*bar, model.range(*level), key.column));
    }
}

void Stroke::moveBetweenButtons()
{
    const int columns = shown.gridColumns;
    const int last = static_cast<int>(model.setup().buttons.size()) - 1;
    const int selected = model.selectedButton();
    switch (key.kind) {
    case Kind::Left:
        return model.selectButton(selected - 1);
    case Kind::Right:
        return model.selectButton(selected + 1);
    case Kind::Up:
        return model.selectButton(selected >= columns ? selected - columns : selected);
    case Kind::Down:
        if (selected + columns <= last || selected / columns < last / columns) {
            return model.selectButton(selected + columns);
        }
        return model.selectLevel(0); // below the buttons
    case Kind::Home:
        return model.selectButton(0);
    default:
        return model.selectButton(last);
    }
}

Actions Stroke::moveBetweenLevels()
{
    const int selected = model.selectedLevel();
    switch (key.kind) {
    case Kind::Left:
        return moveLevel(-kStep);
    case Kind::Right:
        return moveLevel(kStep);
    case Kind::Up:
        selected > 0 ? model.selectLevel(selected - 1) : model.setFocus(Focus::Buttons); // above the levels
        return {};
    case Kind::Down:
        model.selectLevel(selected + 1);
        return {};
    case Kind::Home:
        model.selectLevel(0);
        return {};
    default:
        model.selectLevel(static_cast<int>(model.setup().levels.size()) - 1);
        return {};
    }
}

Actions Stroke::moveLevel(int step)
{
    const std::optional<int> level = selectedLevel();
    return level ? model.moveLevel(now, *level, step) : Actions{};
}

std::optional<int> Stroke::typedOrSelectedButton()
{
    const QString typed = model.typedNumber();
    if (atLevels()) {
        model.setTypedNumber({});
        model.setNotice(QStringLiteral("a level is selected: + and - move it, Tab goes to the buttons"));
        return std::nullopt;
    }
    if (typed.isEmpty()) {
        return codeAt(model.setup().buttons, model.selectedButton());
    }
    model.setTypedNumber({});
    const int channel = typed.toInt();
    if (channel > kHighestChannel) {
        model.setNotice(QStringLiteral("there is no button %1").arg(typed));
        return std::nullopt;
    }
    model.addButton(channel);
    model.selectButton(indexOf(model.setup().buttons, channel));
    return channel;
}

/// A page, with a line that was seen before.
void Stroke::pageLog(int direction)
{
    if (shown.logRows == 0) { // no room beside the buttons
        model.setShowsLogOnly(true);
    } else {
        model.scrollLog(shown.logRows, direction * std::max(1, shown.logRows - 1));
    }
}
} // namespace

KeyEffect takeKey(const Key &key, QTime now, const PanelPicture &shown, PanelModel &model)
{
    Stroke stroke{ key, now, shown, model };
    Actions actions = stroke.take();
    return { std::move(actions), stroke.ends };
}
