#include "tools/arkctl/screen/LogKeys.h"
#include "tools/arkctl/screen/PanelMouse.h"

#include <algorithm>

using Kind = Key::Kind;

/// A page, with a line that was seen before.
void pageLog(const Stroke &stroke, int direction)
{
    if (stroke.logRows() == 0) { // no room beside the buttons
        stroke.model.setShowsLogOnly(true);
    } else {
        stroke.model.scrollLog(stroke.logRows(), direction * std::max(1, stroke.logRows() - 1));
    }
}

bool takesEndOfLog(const Stroke &stroke)
{
    const bool isBack = stroke.model.logWindow(stroke.logRows()).newer > 0;
    stroke.model.showNewestLog();
    return isBack;
}

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
        if (stroke.key.character == U'?') {
            model.showHelp(0);
        }
        return { {}, stroke.key.character == 0x03 }; // Ctrl-C
    default:
        return {};
    }
}
