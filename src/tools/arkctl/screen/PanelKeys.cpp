#include "tools/arkctl/screen/PanelKeys.h"
#include "tools/arkctl/screen/LogKeys.h"
#include "tools/arkctl/screen/PanelMouse.h"

#include <algorithm>

namespace {
using Focus = PanelModel::Focus;
using Kind = Key::Kind;

constexpr int kStep = 1;
constexpr int kBigStep = 10;
constexpr int kMostDigits = 9;

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

PanelModel::Actions takePageKey(const Stroke &stroke, int direction)
{
    if (stroke.atLevels()) {
        return stroke.moveLevel(direction * kBigStep);
    }
    pageLog(stroke, -direction);
    return {};
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
        return { takeMouseUp(stroke) };
    }
    model.setNotice({});
    if (model.showsHelp()) {
        shown.nextHelp > 0 ? model.showHelp(shown.nextHelp) : model.closeHelp();
        return { {}, key.kind == Kind::Character && key.character == 0x03 };
    }
    return model.showsLogOnly() ? takeLogKey(stroke) : takePanelKey(stroke);
}
