#include "tools/arkctl/screen/PanelStatus.h"
#include "tools/arkctl/screen/PanelModel.h"
#include "tools/arkctl/screen/ScreenText.h"

#include <algorithm>
#include <iterator>

namespace {
enum class Place { Buttons, Levels, OldLines, Log }; // OldLines: the end of the log is not to be seen

struct Hints
{
    Place place;
    const char *keys; // the most needed first
};

constexpr Hints kHints[] = {
    { Place::Buttons, "?:help  q:quit  Enter:press  Space:hold  Tab:levels  + -:level  PgUp:log" },
    { Place::Levels, "?:help  q:quit  + -:by 1  PgUp PgDn:by 10  Tab:buttons" },
    { Place::OldLines, "End:newest  ?:help  q:quit  l:log only" },
    { Place::Log, "Esc:back  End:newest  arrows PgUp PgDn:scroll  ?:help" },
};

Place placeOf(const PanelModel &model, int newerLines)
{
    return model.showsLogOnly()                         ? Place::Log
           : newerLines > 0                             ? Place::OldLines
           : model.focus() == PanelModel::Focus::Levels ? Place::Levels
                                                        : Place::Buttons;
}

QString keyHints(Place place, int columns)
{
    const auto found =
        std::find_if(std::begin(kHints), std::end(kHints), [place](auto &hints) { return hints.place == place; });
    const QStringList hints = QString::fromLatin1(found->keys).split(QStringLiteral("  "));
    QString line;
    for (const QString &hint : hints) {
        const QString more = (line.isEmpty() ? QString() : QStringLiteral("  ")) + hint;
        line += line.size() + more.size() <= columns ? more : QString();
    }
    return line;
}

QString typing(const PanelModel &model)
{
    const auto &levels = model.setup().levels;
    const bool isLevel = model.focus() == PanelModel::Focus::Levels && !levels.empty();
    return isLevel ? QStringLiteral("level %1 to %2_   Enter: set")
                         .arg(levels.at(static_cast<size_t>(model.selectedLevel())))
                         .arg(model.typedNumber())
                   : QStringLiteral("button %1_   Enter: press   Space: hold").arg(model.typedNumber());
}
} // namespace

PanelStatus panelStatus(const PanelModel &model, const QStringList &parts, int newerLines, int columns, int mostLines)
{
    if (!model.typedNumber().isEmpty()) {
        return { { typing(model) }, { Role::Plain, true } };
    }
    if (!model.notice().isEmpty()) {
        return { ScreenText::wrapped(model.notice(), columns, mostLines), { Role::Alarm, true } };
    }
    QStringList said = parts;
    if (newerLines > 0) {
        said.prepend(QStringLiteral("\u2193 %1 newer").arg(newerLines));
    }
    const QString gap(3, QLatin1Char(' '));
    QStringList lines = ScreenText::wrapped(said.join(gap), columns, mostLines);
    const int used = said.isEmpty() ? 0 : ScreenText::columnsOf(lines.last()) + static_cast<int>(gap.size());
    if (const QString hints = keyHints(placeOf(model, newerLines), columns - used); !hints.isEmpty()) {
        lines.last() += (used > 0 ? gap : QString()) + hints;
    }
    return { lines, { Role::Plain, !said.isEmpty() } };
}
