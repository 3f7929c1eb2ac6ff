#pragma once
#include <QString>

class Canvas;

/// All keys, in the middle of what is drawn already.
void paintHelp(Canvas &canvas);

/// The most needed keys, as many as find room.
QString keyHints(bool ofLevels, int columns);
