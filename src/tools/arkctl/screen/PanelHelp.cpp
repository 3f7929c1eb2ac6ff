#include "tools/arkctl/screen/PanelHelp.h"
#include "tools/arkctl/screen/Canvas.h"
#include "tools/arkctl/screen/ScreenText.h"

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
    { "PgUp PgDn", "move it by 10" },
    { "60 Enter", "at the levels: set it to 60" },
    { "mouse", "pushes while it is down; sets a level" },
    { "Esc", "forget a typed number" },
    { "q  Ctrl-C", "end; what is held is released" },
    { "", "" },
    { "\u25cb \u25cf", "not lit, lit" },
    { "\u25bc", "held" },
};

constexpr const char *kButtonHints[] = { "?:help", "q:quit", "Enter:press", "Space:hold", "Tab:levels", "+ -:level" };
constexpr const char *kLevelHints[] = { "?:help", "q:quit", "+ -:by 1", "PgUp PgDn:by 10", "Tab:buttons" };
} // namespace

QString keyHints(bool ofLevels, int columns)
{
    QString line;
    const auto add = [&line, columns](const char *hint) {
        const QString more = (line.isEmpty() ? QString() : QStringLiteral("  ")) + QString::fromUtf8(hint);
        line += line.size() + more.size() <= columns ? more : QString();
    };
    if (ofLevels) {
        std::for_each(std::begin(kLevelHints), std::end(kLevelHints), add);
    } else {
        std::for_each(std::begin(kButtonHints), std::end(kButtonHints), add);
    }
    return line;
}

void paintHelp(Canvas &canvas)
{
    constexpr int kKeyColumns = 12;
    int width = 0;
    for (const HelpLine &line : kHelp) {
        width = std::max(width, kKeyColumns + ScreenText::columnsOf(QString::fromUtf8(line.what)) + 4);
    }
    const int height = static_cast<int>(std::size(kHelp)) + 2;
    width = std::min(width, canvas.columns());
    const int left = (canvas.columns() - width) / 2;
    int row = std::max(0, (canvas.rows() - height) / 2);
    const Style style{ Role::Heading, false };
    canvas.put(row++, left, width, QStringLiteral(" Keys"), { Role::Heading, true });
    for (const HelpLine &line : kHelp) {
        canvas.put(row, left, width, QString(), style);
        canvas.put(row, left + 2, kKeyColumns, QString::fromUtf8(line.keys), { Role::Heading, true });
        canvas.put(row++, left + 2 + kKeyColumns, width - kKeyColumns - 2, QString::fromUtf8(line.what), style);
    }
    canvas.put(row, left, width, QStringLiteral(" any key closes this"), style);
}
