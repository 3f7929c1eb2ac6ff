#include "tools/arkctl/screen/PanelStroke.h"

#include <algorithm>

namespace {
constexpr int kHighestChannel = 65535;
} // namespace

std::optional<int> Stroke::selectedButton() const
{
    const auto &buttons = model.setup().buttons;
    return buttons.empty() ? std::nullopt : std::optional(buttons.at(static_cast<size_t>(model.selectedButton())));
}

std::optional<int> Stroke::selectedLevel() const
{
    const auto &levels = model.setup().levels;
    return levels.empty() ? std::nullopt : std::optional(levels.at(static_cast<size_t>(model.selectedLevel())));
}

std::optional<int> Stroke::typedOrSelectedButton() const
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
    model.selectButton(static_cast<int>(std::lower_bound(buttons.begin(), buttons.end(), channel) - buttons.begin()));
    return channel;
}

PanelModel::Actions Stroke::moveLevel(int step) const
{
    const std::optional<int> level = selectedLevel();
    return level ? model.moveLevel(now, *level, step) : PanelModel::Actions{};
}
