#include "tools/arkctl/screen/PanelHelp.h"
#include "tools/arkctl/screen/Canvas.h"

#include <algorithm>
#include <iterator>

namespace {
struct HelpLine
{
    const char *keys;
    const char *what;
};

constexpr HelpLine kHelp[] = {
    { "arrows", "select a button or a level" },
    { "Enter", "press the button: push and release" },
    { "Space", "push and hold it; once more: release" },
    { "12 Enter", "press button 12; with Space: hold it" },
    { "Tab", "from the buttons to the levels and back" },
    { "+  -", "move the selected level by 1" },
    { "PgUp PgDn", "at the levels: move it by 10" },
    { "60 Enter", "at the levels: set it to 60" },
    { "PgUp PgDn", "at the buttons: page through the log" },
    { "l", "the log alone, and back" },
    { "End  Esc", "to the newest line of the log" },
    { "Esc", "forget a typed number" },
    { "mouse", "pushes while it is down; drags a level" },
    { "wheel", "on a level: moves it by 5; on the log: scrolls" },
    { "q  Ctrl-C", "end; what is held is released" },
    { "", "" },
    { "\u25cb \u25cf", "not lit, lit" },
    { "\u25bc", "held" },
};

void paintLine(Canvas &canvas, int row, int left, int width, const HelpLine &line)
{
    constexpr int kKeyColumns = 12;
    const Style style{ Role::Heading, false };
    canvas.put(row, left, width, QString(), style);
    canvas.put(row, left + 2, kKeyColumns, QString::fromUtf8(line.keys), { Role::Heading, true });
    canvas.put(row, left + 2 + kKeyColumns, width - kKeyColumns - 2, QString::fromUtf8(line.what), style);
}
} // namespace

int paintHelp(Canvas &canvas, int from)
{
    constexpr int kWidest = 56;
    constexpr int kAll = static_cast<int>(std::size(kHelp));
    const int count = std::min(kAll - from, std::max(1, canvas.rows() - 2));
    const bool isLast = from + count == kAll;
    const int width = std::min(kWidest, canvas.columns());
    const int left = (canvas.columns() - width) / 2;
    int row = std::max(0, (canvas.rows() - count - 2) / 2);
    canvas.put(row++, left, width, QStringLiteral(" Keys"), { Role::Heading, true });
    for (int index = from; index < from + count; ++index) {
        paintLine(canvas, row++, left, width, kHelp[index]);
    }
    canvas.put(row, left, width, isLast ? QStringLiteral(" any key closes this") : QStringLiteral(" any key: more"),
               { Role::Heading, false });
    return isLast ? 0 : from + count;
}
