#include "tools/arkctl/screen/PanelMouse.h"

#include <algorithm>

namespace {
constexpr int kWheelStep = 5;
constexpr int kWheelLines = 3;

/// Where in the range of a level that column of its bar stands; beyond the bar its ends.
int valueAt(const PanelPicture::Area &bar, const LevelRange &range, int column)
{
    const qint64 span = qint64(range.highest) - range.lowest;
    const int steps = std::max(1, bar.columns - 1);
    return static_cast<int>(range.lowest + span * std::clamp(column - bar.column, 0, steps) / steps);
}
} // namespace

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

void dragLevel(const Stroke &stroke)
{
    const std::optional<int> level = stroke.model.slidingLevel();
    const auto *const bar = level ? stroke.shown.areaOf(PanelPicture::Area::Kind::Level, *level) : nullptr;
    if (bar) {
        stroke.model.slideTo(valueAt(*bar, stroke.model.range(*level), stroke.key.column));
    }
}

PanelModel::Actions takeMouseUp(const Stroke &stroke)
{
    dragLevel(stroke);
    return stroke.model.fingerUp(stroke.now);
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
