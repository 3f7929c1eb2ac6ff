#pragma once
#include "tools/arkctl/screen/Canvas.h"
#include <QStringList>

class PanelModel;

/// What stands at the bottom: the number that is being typed, else what was wrong with the last key, else where one is
/// in the log, the selected button's label when its cell has no room for the whole, and the most needed keys.
struct PanelStatus
{
    QStringList lines; // at least one
    Style style;
};

/// \param cutLabel   printable, with the button's number; empty: its cell shows it whole
/// \param newerLines of the log, below those that are shown
/// \param columns, mostLines  the room
PanelStatus panelStatus(const PanelModel &model, const QString &cutLabel, int newerLines, int columns, int mostLines);
