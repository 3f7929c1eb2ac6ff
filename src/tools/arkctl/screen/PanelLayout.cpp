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
void planColumns(const PanelNeeds &needs, int columns, PanelLayout &layout)
{
    const int fitting = std::max(1, (columns + 1) / (needs.buttonColumns + 1));
    const int rows = std::max(1, divideUp(needs.buttons, fitting));
    layout.gridColumns = std::max(1, divideUp(needs.buttons, rows));
    const int room = (columns + 1) / layout.gridColumns - 1;
    layout.cellColumns = std::min({ room, std::max(needs.buttonColumns, kWidestButton), columns });
}

void planGrid(const PanelNeeds &needs, int budget, PanelLayout &layout)
{
    const int rows = divideUp(needs.buttons, layout.gridColumns);
    layout.cellRows = rows * kFramedRows <= budget ? kFramedRows : 1;
    layout.gridRows = std::max(0, std::min(rows, budget));
    layout.firstButton =
        layout.gridColumns * pageStart(needs.selectedButton / layout.gridColumns, layout.gridRows, rows);
}
} // namespace

PanelLayout planPanel(const PanelNeeds &needs, int columns, int rows)
{
    PanelLayout layout;
    layout.statusRow = rows >= 2 ? rows - 1 : -1;
    const int body = std::max(0, rows - 2);
    const int rule = body >= kRowsForRules ? 1 : 0;
    const int wantedLog = body >= kRowsForRules ? 4 : body >= 8 ? 2 : body >= 4 ? 1 : 0;
    layout.levelRows = std::min(needs.levels, std::max(body >= 2 || needs.levelsFirst ? 1 : 0, body / 4));
    layout.levelRows = std::min(layout.levelRows, body);
    const int levelLines = layout.levelRows > 0 ? layout.levelRows + rule : 0;
    planColumns(needs, columns, layout);
    planGrid(needs, body - levelLines - wantedLog - rule, layout);

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
