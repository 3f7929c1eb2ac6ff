#include "tools/arkctl/screen/PanelLayout.h"

#include <algorithm>

namespace {
constexpr int kWidestButton = 26;
constexpr int kFramedRows = 3;
constexpr int kRowsForRules = 12; // on less the lines between the parts cost too much

int divideUp(int number, int by)
{
    return (number + by - 1) / by;
}

/// The first of the visible ones: whole pages, and the last page is full.
int pageStart(int selected, int visible, int all)
{
    return visible <= 0 ? 0 : std::max(0, std::min(selected / visible * visible, all - visible));
}

/// Buttons side by side, evenly: 24 where 7 fit become four rows of 6.
void planColumns(int buttons, int buttonColumns, int columns, PanelLayout &layout)
{
    const int fitting = std::max(1, (columns + 1) / (buttonColumns + 1));
    const int rows = std::max(1, divideUp(buttons, fitting));
    layout.gridColumns = std::max(1, divideUp(buttons, rows));
    const int room = (columns + 1) / layout.gridColumns - 1;
    layout.cellColumns = std::min({ room, std::max(buttonColumns, kWidestButton), columns });
}

/// Frames are worth more than whole labels: what is cut can be read when the button is selected.
void planGrid(const PanelNeeds &needs, int columns, int budget, PanelLayout &layout)
{
    int rows = 0;
    const auto fits = [&](int buttonColumns, int cellRows) {
        planColumns(needs.buttons, buttonColumns, columns, layout);
        rows = divideUp(needs.buttons, layout.gridColumns);
        layout.cellRows = cellRows;
        return rows * cellRows <= budget;
    };
    fits(needs.wholeColumns, kFramedRows) || fits(needs.buttonColumns, kFramedRows) || fits(needs.wholeColumns, 1) ||
        fits(needs.buttonColumns, 1);
    layout.gridRows = std::max(0, std::min(rows, budget));
    layout.firstButton =
        layout.gridColumns * pageStart(needs.selectedButton / layout.gridColumns, layout.gridRows, rows);
}
} // namespace

void PanelLayout::growStatus(int wantedRows)
{
    const int more = std::clamp(wantedRows - statusRows, 0, std::max(0, logRows - 1));
    logRows -= more;
    statusRow -= more;
    statusRows += more;
}

PanelLayout planPanel(const PanelNeeds &needs, int columns, int rows)
{
    PanelLayout layout;
    layout.statusRow = rows >= 2 ? rows - 1 : -1;
    if (needs.logOnly) {
        layout.logTop = 1;
        layout.logRows = std::max(0, rows - 2);
        return layout;
    }
    const int body = std::max(0, rows - 2);
    const int rule = body >= kRowsForRules ? 1 : 0;
    const int wantedLog = body >= kRowsForRules ? 4 : body >= 8 ? 2 : body >= 4 ? 1 : 0;
    layout.levelRows = std::min(needs.levels, std::max(body >= 2 || needs.levelsFirst ? 1 : 0, body / 4));
    layout.levelRows = std::min(layout.levelRows, body);
    const int levelLines = layout.levelRows > 0 ? layout.levelRows + rule : 0;
    planGrid(needs, columns, body - levelLines - wantedLog - rule, layout);

    int row = layout.gridTop + layout.gridRows * layout.cellRows;
    if (layout.levelRows > 0) {
        layout.levelsRule = rule > 0 ? row : -1;
        layout.levelsTop = row + rule;
        layout.firstLevel = pageStart(needs.selectedLevel, layout.levelRows, needs.levels);
        row += levelLines;
    }
    layout.logRule = rule > 0 ? row : -1;
    layout.logTop = row + rule;
    layout.logRows = std::max(0, rows - 1 - layout.logTop);
    return layout;
}
