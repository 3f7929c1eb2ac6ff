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
    { "arrows", "select a button or level" },
    { "Enter", "push it and release it" },
    { "Space", "hold it; again: release it" },
    { "12 Enter", "press 12; Space: hold it" },
    { "Tab", "to the levels and back" },
    { "+  -", "move the level by 1" },
    { "PgUp PgDn", "at the levels: by 10" },
    { "60 Enter", "at the levels: set it to 60" },
    { "PgUp PgDn", "at the buttons: page the log" },
    { "l", "the log alone, and back" },
    { "End  Esc", "to the end of the log" },
    { "Esc", "forget a typed number" },
    { "mouse", "pushes; drags a level" },
    { "wheel", "moves a level or the log" },
    { "q  Ctrl-C", "end; all held is released" },
    { "", "" },
    { "\u25cb \u25cf", "not lit, lit" },
    { "\u25bc", "held" },
};

void paintLine(Canvas &canvas, int row, int left, int width, const HelpLine &line)
{
    constexpr int kKeyColumns = 11;
    const Style style{ Role::Heading, false };
    canvas.put(row, left, width, QString(), style);
    canvas.put(row, left + 1, kKeyColumns, QString::fromUtf8(line.keys), { Role::Heading, true });
    canvas.put(row, left + 1 + kKeyColumns, width - kKeyColumns - 1, QString::fromUtf8(line.what), style);
}
} // namespace

int paintHelp(Canvas &canvas, int from)
{
    constexpr int kWidest = 44;
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
