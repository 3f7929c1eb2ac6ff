#pragma once
#include "tools/arkctl/screen/PanelKeys.h"
#include "tools/arkctl/screen/PanelPicture.h"

/// A key and all that it can act on.
struct Stroke
{
    const Key &key;
    QTime now;
    const PanelPicture &shown;
    PanelModel &model;

    int logRows() const { return shown.logRows; }
    bool atLevels() const { return model.focus() == PanelModel::Focus::Levels; }
    std::optional<int> selectedButton() const;
    std::optional<int> selectedLevel() const;
    std::optional<int> typedOrSelectedButton() const; // the typed number becomes the selected button
    PanelModel::Actions moveLevel(int step) const;    // the selected one
};
