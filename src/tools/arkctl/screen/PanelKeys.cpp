#include "tools/arkctl/screen/PanelKeys.h"
#include "tools/arkctl/screen/PanelPicture.h"

#include <algorithm>

namespace {
using Focus = PanelModel::Focus;
using Kind = Key::Kind;

constexpr int kStep = 1;
constexpr int kBigStep = 10;
constexpr int kWheelStep = 5;
constexpr int kWheelLines = 3;
constexpr int kMostDigits = 9;

/// The key and all that it can act on.
struct Stroke
{
    const Key &key;
    QTime now;
    const PanelPicture &shown;
    PanelModel &model;

    int logRows() const { return shown.logRows; }
    bool atLevels() const { return model.focus() == Focus::Levels; }

    std::optional<int> selectedButton() const
    {
        const auto &buttons = model.setup().buttons;
        return buttons.empty() ? std::nullopt : std::optional(buttons.at(static_cast<size_t>(model.selectedButton())));
    }

    std::optional<int> selectedLevel() const
    {
        const auto &levels = model.setup().levels;
        return levels.empty() ? std::nullopt : std::optional(levels.at(static_cast<size_t>(model.selectedLevel())));
    }

    /// The typed number becomes the selected button.
    std::optional<int> typedOrSelectedButton() const
    {
        const QString typed = model.typedNumber();
        if (atLevels()) {
            model.setTypedNumber({});
            model.setNotice(QStringLiteral("a level is selected: + and - move it, Tab goes to the buttons"));
            return std::nullopt;
        }
        if (typed.isEmpty()) {
            return selectedButton();
        }
        model.setTypedNumber({});
        const int channel = typed.toInt();
        if (channel > kHighestChannel) {
            model.setNotice(QStringLiteral("there is no button %1").arg(typed));
            return std::nullopt;
        }
        model.addButton(channel);
        const auto &buttons = model.setup().buttons;
        model.selectButton(
            static_cast<int>(std::lower_bound(buttons.begin(), buttons.end(), channel) - buttons.begin()));
        return channel;
    }

    PanelModel::Actions moveLevel(int step) const
    {
        const std::optional<int> level = selectedLevel();
        return level ? model.moveLevel(now, *level, step) : PanelModel::Actions{};
    }

    static constexpr int kHighestChannel = 65535;
};

void moveBetweenButtons(const Stroke &stroke)
{
    PanelModel &model = stroke.model;
    const int columns = stroke.shown.gridColumns;
    const int count = static_cast<int>(model.setup().buttons.size());
    const int now = model.selectedButton();
    switch (stroke.key.kind) {
    case Kind::Left:
        return model.selectButton(now - 1);
    case Kind::Right:
        return model.selectButton(now + 1);
    case Kind::Up:
        return model.selectButton(now >= columns ? now - columns : now);
    case Kind::Down:
        if (now + columns < count || now / columns < (count - 1) / columns) {
            return model.selectButton(now + columns);
        }
        return model.selectLevel(0); // below the buttons
    case Kind::Home:
        return model.selectButton(0);
    default:
        return model.selectButton(count - 1);
    }
}

PanelModel::Actions moveBetweenLevels(const Stroke &stroke)
{
    PanelModel &model = stroke.model;
    const int now = model.selectedLevel();
    switch (stroke.key.kind) {
    case Kind::Left:
        return stroke.moveLevel(-kStep);
    case Kind::Right:
        return stroke.moveLevel(kStep);
    case Kind::Up:
        now > 0 ? model.selectLevel(now - 1) : model.setFocus(Focus::Buttons); // above the levels
        return {};
    case Kind::Down:
        model.selectLevel(now + 1);
        return {};
    case Kind::Home:
        model.selectLevel(0);
        return {};
    default:
        model.selectLevel(static_cast<int>(model.setup().levels.size()) - 1);
        return {};
    }
}

PanelModel::Actions takeArrow(const Stroke &stroke)
{
    stroke.model.setTypedNumber({});
    if (stroke.atLevels()) {
        return moveBetweenLevels(stroke);
    }
    moveBetweenButtons(stroke);
    return {};
}

PanelModel::Actions takeEnter(const Stroke &stroke)
{
    const QString typed = stroke.model.typedNumber();
    const std::optional<int> level = stroke.selectedLevel();
    if (stroke.atLevels() && level && !typed.isEmpty()) {
        stroke.model.setTypedNumber({});
        return stroke.model.setLevel(stroke.now, *level, typed.toInt());
    }
    const std::optional<int> channel = stroke.typedOrSelectedButton();
    return channel ? stroke.model.press(stroke.now, *channel) : PanelModel::Actions{};
}

PanelModel::Actions takeSpace(const Stroke &stroke)
{
    if (stroke.model.isKeyRepeat(stroke.now)) {
        return {};
    }
    const std::optional<int> channel = stroke.typedOrSelectedButton();
    return channel ? stroke.model.toggleHold(stroke.now, *channel) : PanelModel::Actions{};
}

KeyEffect takeCharacter(const Stroke &stroke)
{
    PanelModel &model = stroke.model;
    const char32_t character = stroke.key.character;
    if (character >= U'0' && character <= U'9') {
        if (model.typedNumber().size() < kMostDigits) {
            model.setTypedNumber(model.typedNumber() + QChar(static_cast<ushort>(character)));
        }
        return {};
    }
    switch (character) {
    case U' ':
        return { takeSpace(stroke) };
    case U'+':
    case U'=': // the same key without Shift
        return { stroke.moveLevel(kStep) };
    case U'-':
        return { stroke.moveLevel(-kStep) };
    case U'?':
    case U'h':
        model.showHelp(0);
        return {};
    case U'l':
        model.setShowsLogOnly(true);
        return {};
    case U'q':
    case U'Q':
    case 0x03: // Ctrl-C, where the terminal makes no signal of it
        return { {}, true };
    default:
        return {};
    }
}

/// A page, with a line that was seen before.
void pageLog(const Stroke &stroke, int direction)
{
    if (stroke.logRows() == 0) { // no room beside the buttons
        stroke.model.setShowsLogOnly(true);
    } else {
        stroke.model.scrollLog(stroke.logRows(), direction * std::max(1, stroke.logRows() - 1));
    }
}

PanelModel::Actions takePageKey(const Stroke &stroke, int direction)
{
    if (stroke.atLevels()) {
        return stroke.moveLevel(direction * kBigStep);
    }
    pageLog(stroke, -direction);
    return {};
}

/// Where in the range of a level that column of its bar stands; beyond the bar its ends.
int valueAt(const PanelPicture::Area &bar, const LevelRange &range, int column)
{
    const qint64 span = qint64(range.highest) - range.lowest;
    const int steps = std::max(1, bar.columns - 1);
    return static_cast<int>(range.lowest + span * std::clamp(column - bar.column, 0, steps) / steps);
}

PanelModel::Actions takeMouseDown(const Stroke &stroke)
{
    const PanelPicture::Area *const area = stroke.shown.areaAt(stroke.key.row, stroke.key.column);
    if (!area || area->kind == PanelPicture::Area::Kind::Log) {
        return stroke.model.fingerUp(stroke.now); // a release that the terminal has not told
    }
    // The model may have grown since: what counts is the code.
    if (area->kind == PanelPicture::Area::Kind::Button) {
        const auto &buttons = stroke.model.setup().buttons;
        stroke.model.selectButton(
            static_cast<int>(std::lower_bound(buttons.begin(), buttons.end(), area->code) - buttons.begin()));
        return stroke.model.fingerDown(stroke.now, area->code);
    }
    const auto &levels = stroke.model.setup().levels;
    stroke.model.selectLevel(
        static_cast<int>(std::lower_bound(levels.begin(), levels.end(), area->code) - levels.begin()));
    return stroke.model.slideFrom(stroke.now, area->code,
                                  valueAt(*area, stroke.model.range(area->code), stroke.key.column));
}

/// The level that the mouse took hold of follows it, also beside its bar.
void dragLevel(const Stroke &stroke)
{
    const std::optional<int> level = stroke.model.slidingLevel();
    const auto *const bar = level ? stroke.shown.areaOf(PanelPicture::Area::Kind::Level, *level) : nullptr;
    if (bar) {
        stroke.model.slideTo(valueAt(*bar, stroke.model.range(*level), stroke.key.column));
    }
}

PanelModel::Actions takeWheel(const Stroke &stroke, int direction)
{
    const PanelPicture::Area *const area = stroke.shown.areaAt(stroke.key.row, stroke.key.column);
    if (area && area->kind == PanelPicture::Area::Kind::Level) {
        return stroke.model.moveLevel(stroke.now, area->code, direction * kWheelStep);
    }
    if (area && area->kind == PanelPicture::Area::Kind::Log) {
        stroke.model.scrollLog(stroke.logRows(), -direction * kWheelLines);
        return {};
    }
    stroke.model.selectButton(stroke.model.selectedButton() - direction * stroke.shown.gridColumns);
    return {};
}

/// Where the log is scrolled back End leads to its newest line first.
bool takesEndOfLog(const Stroke &stroke)
{
    const bool isBack = stroke.model.logWindow(stroke.logRows()).newer > 0;
    stroke.model.showNewestLog();
    return isBack;
}

/// The log alone: nothing is pushed that one does not see.
KeyEffect takeLogKey(const Stroke &stroke)
{
    PanelModel &model = stroke.model;
    switch (stroke.key.kind) {
    case Kind::Up:
        model.scrollLog(stroke.logRows(), -1);
        return {};
    case Kind::Down:
        model.scrollLog(stroke.logRows(), 1);
        return {};
    case Kind::PageUp:
        pageLog(stroke, -1);
        return {};
    case Kind::PageDown:
        pageLog(stroke, 1);
        return {};
    case Kind::Left:
        model.shiftLog(-stroke.shown.canvas.columns() / 2);
        return {};
    case Kind::Right:
        model.shiftLog(stroke.shown.canvas.columns() / 2);
        return {};
    case Kind::Home:
        model.showOldestLog(stroke.logRows());
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
        return { takeWheel(stroke, stroke.key.kind == Kind::WheelUp ? 1 : -1) };
    case Kind::Character:
        if (stroke.key.character == U'l' || stroke.key.character == U'q') { // q closes what is on top
            model.setShowsLogOnly(false);
            return {};
        }
        return stroke.key.character == U'?' || stroke.key.character == 0x03 ? takeCharacter(stroke) : KeyEffect{};
    default:
        return {};
    }
}

KeyEffect takePanelKey(const Stroke &stroke)
{
    PanelModel &model = stroke.model;
    switch (stroke.key.kind) {
    case Kind::Character:
        return takeCharacter(stroke);
    case Kind::Enter:
        return { takeEnter(stroke) };
    case Kind::End:
        return takesEndOfLog(stroke) ? KeyEffect{} : KeyEffect{ takeArrow(stroke) };
    case Kind::Up:
    case Kind::Down:
    case Kind::Left:
    case Kind::Right:
    case Kind::Home:
        return { takeArrow(stroke) };
    case Kind::PageUp:
        return { takePageKey(stroke, 1) };
    case Kind::PageDown:
        return { takePageKey(stroke, -1) };
    case Kind::Tab:
        model.setTypedNumber({});
        model.setFocus(stroke.atLevels() || model.setup().levels.empty() ? Focus::Buttons : Focus::Levels);
        return {};
    case Kind::Escape:
        model.setTypedNumber({});
        model.showNewestLog();
        return {};
    case Kind::Backspace:
        model.setTypedNumber(model.typedNumber().left(model.typedNumber().size() - 1));
        return {};
    case Kind::MouseDown:
        return { takeMouseDown(stroke) };
    case Kind::WheelUp:
        return { takeWheel(stroke, 1) };
    case Kind::WheelDown:
        return { takeWheel(stroke, -1) };
    case Kind::MouseMove: // both belong to the stroke before
    case Kind::MouseUp:
    case Kind::Other:
        return {};
    }
    Q_UNREACHABLE();
}
} // namespace

KeyEffect takeKey(const Key &key, QTime now, const PanelPicture &shown, PanelModel &model)
{
    const Stroke stroke{ key, now, shown, model };
    if (key.kind == Kind::MouseMove) {
        dragLevel(stroke);
        return {};
    }
    if (key.kind == Kind::MouseUp) {
        dragLevel(stroke);
        return { model.fingerUp(now) };
    }
    model.setNotice({});
    if (model.showsHelp()) {
        shown.nextHelp > 0 ? model.showHelp(shown.nextHelp) : model.closeHelp();
        return { {}, key.kind == Kind::Character && key.character == 0x03 };
    }
    return model.showsLogOnly() ? takeLogKey(stroke) : takePanelKey(stroke);
}
