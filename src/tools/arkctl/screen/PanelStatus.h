#pragma once
#include "tools/arkctl/screen/Canvas.h"
#include <QStringList>

class PanelModel;

/// What stands at the bottom: the number that is being typed, else what was wrong with the last key, else where one is
/// in the log, what the picture has no other place for, and the most needed keys.
struct PanelStatus
{
    QStringList lines; // at least one
    Style style;
};

/// \param parts      what the picture has no other place for, printable
/// \param newerLines of the log, below those that are shown
/// \param columns, mostLines  the room
PanelStatus panelStatus(const PanelModel &model, const QStringList &parts, int newerLines, int columns, int mostLines);
