#pragma once
#include "tools/arkctl/screen/PanelStroke.h"

/// \name What the mouse does, where it stands in the picture that the person saw.
PanelModel::Actions takeMouseDown(const Stroke &stroke);
PanelModel::Actions takeMouseUp(const Stroke &stroke);
void dragLevel(const Stroke &stroke); // the level that the mouse took hold of follows it, also beside its bar
PanelModel::Actions takeWheel(const Stroke &stroke, int direction); // direction: 1 up, -1 down
