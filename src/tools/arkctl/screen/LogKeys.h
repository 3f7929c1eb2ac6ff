#pragma once
#include "tools/arkctl/screen/PanelStroke.h"

void pageLog(const Stroke &stroke, int direction); // direction: 1 to newer lines, -1 to older ones
bool takesEndOfLog(const Stroke &stroke);          // where it was scrolled back: it no longer is
KeyEffect takeLogKey(const Stroke &stroke); // while the log is shown alone: nothing is pushed that one does not see
