#pragma once
#include <vector>

/// What has to find room on a screen.
struct PanelNeeds
{
    int buttons = 0;
    int selectedButton = 0; // must be seen
    int buttonColumns = 10; // what a button takes with its frame, when a few long labels are cut
    int wholeColumns = 10;  // when none is
    int levels = 0;
    int selectedLevel = 0;
    bool levelsFirst = false; // where there is room for one of both only
    bool logOnly = false;
};

/// How the lines of a screen are dealt out: heading, buttons, levels, log, status. Where not all buttons fit they are
/// shown in pages, that with the selected one first.
struct PanelLayout
{
    int gridTop = 1;
    int gridColumns = 1;
    int gridRows = 0; // of buttons
    int cellRows = 1; // 3: with a frame around each button
    int cellColumns = 10;
    int firstButton = 0;
    int levelsRule = -1; // the line above them; -1: none
    int levelsTop = 0;
    int levelRows = 0;
    int firstLevel = 0;
    int logRule = -1;
    int logTop = 0;
    int logRows = 0;
    int statusRow = -1; // the first of them; -1: no room
    int statusRows = 1;

    void growStatus(int wantedRows); // the log makes room, down to its last line
};

PanelLayout planPanel(const PanelNeeds &needs, int columns, int rows);
