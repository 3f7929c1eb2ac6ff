#pragma once
class Canvas;

/// The keys, in the middle of what is drawn already, as many as find room.
/// \param from  the first line to show
/// \return the first that found no room; 0: that was all
int paintHelp(Canvas &canvas, int from);
