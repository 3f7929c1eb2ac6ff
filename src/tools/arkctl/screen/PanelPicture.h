#pragma once
#include "tools/arkctl/screen/Canvas.h"

#include <optional>
#include <vector>

class PanelModel;

/// The panel as it is drawn, and where on it one can click.
struct PanelPicture
{
    struct Area
    {
        enum class Kind { Button, Level, Log };
        Kind kind = Kind::Button;
        int code = 0;  // channel or level
        int place = 0; // in the model's list
        int row = 0;
        int column = 0;
        int rows = 1;
        int columns = 0;
    };

    Canvas canvas;
    std::vector<Area> areas;
    int gridColumns = 1; // buttons beside each other: what "up" and "down" skip
    int logRows = 0;
    int nextHelp = 0; // the first line of the help that found no room; 0: none

    const Area *areaAt(int row, int column) const;           // nullptr: nothing to click
    const Area *areaOf(Area::Kind kind, int code = 0) const; // nullptr: not to be seen
};

/// Draws the panel into a screen of any size, however small.
PanelPicture drawPanel(const PanelModel &model, int columns, int rows);
