#include "tools/arkctl/screen/PanelPicture.h"
#include "tools/arkctl/screen/PanelHelp.h"
#include "tools/arkctl/screen/PanelLayout.h"
#include "tools/arkctl/screen/PanelModel.h"
#include "tools/arkctl/screen/PanelStatus.h"
#include "tools/arkctl/screen/ScreenText.h"

#include <algorithm>

namespace {
using Area = PanelPicture::Area;

constexpr int kWidestLabel = 18;
constexpr int kNarrowestLabel = 10; // a longer one may be cut down to that
constexpr int kMostStatusRows = 4;
constexpr int kWidestBar = 60;

/// Draws one picture: each function one part of it.
class Painter
{
public:
    Painter(const PanelModel &model, int columns, int rows);
    PanelPicture paint();

private:
    PanelNeeds needs() const;
    std::vector<int> labelColumns() const;
    PanelStatus planStatus(int columns);
    QString cutLabel() const;
    QString seenButtons(const char *form) const;
    void paintHeading();
    void paintButtons();
    void paintButton(int place, int row, int column);
    void paintFrame(int row, int column, bool isSelected, Style style);
    void paintLevels();
    void paintLevel(int place, int row);
    void paintLog();
    void paintLogLine(const PanelLog::Line &line, int row);
    void paintStatus();
    void paintRule(int row, const QString &title, const QString &atEnd);
    QString buttonText(int channel) const;
    QString valueText(int level) const;
    int widestValue() const;
    Canvas &canvas() { return m_picture.canvas; }

    const PanelModel &m_model;
    const int m_numberColumns; // of the highest channel
    const int m_valueColumns;  // of a level, with a blank on both sides
    PanelLayout m_layout;
    const PanelStatus m_status;
    const LogPosition::Window m_logWindow;
    PanelPicture m_picture;
};

int digitsOf(const std::vector<int> &codes)
{
    return codes.empty() ? 1 : static_cast<int>(QString::number(codes.back()).size());
}

/// Empty: all.
QString seen(const char *form, int first, int count, size_t all)
{
    return count <= 0 || static_cast<size_t>(count) >= all
               ? QString()
               : QString::fromLatin1(form).arg(first + 1).arg(std::min(first + count, static_cast<int>(all))).arg(all);
}

Painter::Painter(const PanelModel &model, int columns, int rows)
    : m_model(model)
    , m_numberColumns(digitsOf(model.setup().buttons))
    , m_valueColumns(widestValue() + 2)
    , m_layout(planPanel(needs(), columns, rows))
    , m_status(planStatus(columns))
    , m_logWindow(model.logWindow(m_layout.logRows))
    , m_picture{ Canvas(columns, rows), {}, m_layout.gridColumns, m_layout.logRows }
{}

PanelPicture Painter::paint()
{
    paintHeading();
    paintButtons();
    paintLevels();
    paintLog();
    paintStatus();
    if (m_model.showsHelp()) {
        m_picture.nextHelp = paintHelp(canvas(), m_model.helpFrom());
    }
    return std::move(m_picture);
}

PanelNeeds Painter::needs() const
{
    const PanelModel::Setup &setup = m_model.setup();
    constexpr int kFrameAndSigns = 6; // a frame on both sides, the signs of held and lit, two blanks
    const auto cell = [this](int label) { return kFrameAndSigns + m_numberColumns + (label > 0 ? label + 1 : 0); };
    const std::vector<int> labels = labelColumns();
    const int widest = labels.empty() ? 0 : std::min(labels.back(), kWidestLabel);
    // Wide enough for three of four, so that a few long ones do not spoil the grid.
    const int usual = labels.empty() ? 0 : labels.at((labels.size() - 1) * 3 / 4);
    PanelNeeds needs;
    needs.buttons = static_cast<int>(setup.buttons.size());
    needs.selectedButton = m_model.selectedButton();
    needs.buttonColumns = cell(std::min(widest, std::max(usual, kNarrowestLabel)));
    needs.wholeColumns = cell(widest);
    needs.levels = static_cast<int>(setup.levels.size());
    needs.selectedLevel = m_model.selectedLevel();
    needs.levelsFirst = m_model.focus() == PanelModel::Focus::Levels;
    needs.logOnly = m_model.showsLogOnly();
    return needs;
}

/// Of the buttons that have one, in order.
std::vector<int> Painter::labelColumns() const
{
    std::vector<int> all;
    for (const int channel : m_model.setup().buttons) {
        if (const int columns = ScreenText::columnsOf(m_model.label(channel)); columns > 0) {
            all.push_back(columns);
        }
    }
    std::sort(all.begin(), all.end());
    return all;
}

/// And makes room for it.
PanelStatus Painter::planStatus(int columns)
{
    const int room = std::min(kMostStatusRows, m_layout.statusRows + std::max(0, m_layout.logRows - 1));
    const int newer = m_model.logWindow(m_layout.logRows).newer;
    const bool saysWhere = m_layout.levelsRule < 0 && m_layout.logRule < 0; // no rule does
    QStringList parts{ saysWhere ? seenButtons("%1-%2/%3") : QString(), cutLabel() };
    parts.removeAll(QString());
    PanelStatus status = panelStatus(m_model, parts, newer, columns - 1, room);
    m_layout.growStatus(static_cast<int>(status.lines.size()));
    return status;
}

/// That of the selected button, where its cell does not show the whole.
QString Painter::cutLabel() const
{
    const auto &buttons = m_model.setup().buttons;
    const bool isSeen = m_model.focus() == PanelModel::Focus::Buttons && !m_model.showsLogOnly();
    if (!isSeen || buttons.empty()) {
        return {};
    }
    const int channel = buttons.at(static_cast<size_t>(m_model.selectedButton()));
    const bool isCut = ScreenText::columnsOf(buttonText(channel)) > m_layout.cellColumns - 2;
    return isCut ? QStringLiteral("%1 %2").arg(channel).arg(m_model.label(channel)) : QString();
}

QString Painter::seenButtons(const char *form) const
{
    return seen(form, m_layout.firstButton, m_layout.gridRows * m_layout.gridColumns, m_model.setup().buttons.size());
}

void Painter::paintHeading()
{
    const Style style{ m_model.isConnected() ? Role::Heading : Role::Alarm, true };
    const int columns = canvas().columns();
    QString state = (m_model.isConnected() ? QStringLiteral("\u25cf ") : QStringLiteral("\u25cb ")) +
                    m_model.linkText() + QLatin1Char(' ');
    QString who = QStringLiteral(" Panel %1 ").arg(m_model.setup().device);
    const QString where = QStringLiteral("at %1 ").arg(m_model.setup().controller);
    if (ScreenText::columnsOf(who + where + state) <= columns) {
        who += where;
    } else if (m_model.isConnected() && ScreenText::columnsOf(who + state) > columns) {
        state = state.left(2); // the sign says it
    }
    const int stateColumns = std::min(columns, ScreenText::columnsOf(state));
    canvas().put(0, 0, columns - stateColumns, who, style);
    canvas().put(0, columns - stateColumns, stateColumns, state, style);
}

void Painter::paintButtons()
{
    const int last = std::min(static_cast<int>(m_model.setup().buttons.size()),
                              m_layout.firstButton + m_layout.gridRows * m_layout.gridColumns);
    for (int place = m_layout.firstButton; place < last; ++place) {
        const int index = place - m_layout.firstButton;
        paintButton(place, m_layout.gridTop + index / m_layout.gridColumns * m_layout.cellRows,
                    index % m_layout.gridColumns * (m_layout.cellColumns + 1));
    }
}

void Painter::paintButton(int place, int row, int column)
{
    const int channel = m_model.setup().buttons.at(static_cast<size_t>(place));
    const bool isSelected = m_model.focus() == PanelModel::Focus::Buttons && place == m_model.selectedButton();
    const Role role = m_model.isHeld(channel)     ? Role::Held
                      : m_model.isLit(channel)    ? Role::Lit
                      : m_model.isUsable(channel) ? Role::Plain
                                                  : Role::Faint;
    const int width = m_layout.cellColumns;
    const Style frame{ isSelected ? Role::Plain : Role::Faint, isSelected };
    int textRow = row;
    if (m_layout.cellRows > 1) {
        paintFrame(row, column, isSelected, frame);
        textRow = row + 1;
    } else if (isSelected) {
        canvas().put(row, column, 1, QStringLiteral("["), frame);
        canvas().put(row, column + width - 1, 1, QStringLiteral("]"), frame);
    }
    canvas().put(textRow, column + 1, width - 2, buttonText(channel), { role, isSelected });
    m_picture.areas.push_back({ Area::Kind::Button, channel, place, row, column, m_layout.cellRows, width });
}

void Painter::paintFrame(int row, int column, bool isSelected, Style style)
{
    const QString parts = isSelected ? QStringLiteral("\u250f\u2501\u2513\u2503\u2517\u251b")
                                     : QStringLiteral("\u250c\u2500\u2510\u2502\u2514\u2518");
    const int width = m_layout.cellColumns;
    const QString line(std::max(0, width - 2), parts.at(1));
    canvas().put(row, column, width, parts.at(0) + line + parts.at(2), style);
    canvas().put(row + 1, column, 1, parts.at(3), style);
    canvas().put(row + 1, column + width - 1, 1, parts.at(3), style);
    canvas().put(row + 2, column, width, parts.at(4) + line + parts.at(5), style);
}

void Painter::paintLevels()
{
    const int last =
        std::min(static_cast<int>(m_model.setup().levels.size()), m_layout.firstLevel + m_layout.levelRows);
    if (m_layout.levelsRule >= 0) {
        paintRule(m_layout.levelsRule, QStringLiteral("Levels"), seenButtons("buttons %1 to %2 of %3"));
    }
    for (int place = m_layout.firstLevel; place < last; ++place) {
        paintLevel(place, m_layout.levelsTop + place - m_layout.firstLevel);
    }
}

void Painter::paintLevel(int place, int row)
{
    const int level = m_model.setup().levels.at(static_cast<size_t>(place));
    const bool hasFocus = m_model.focus() == PanelModel::Focus::Levels;
    const bool isSelected = place == m_model.selectedLevel();
    const LevelRange range = m_model.range(level);
    const int numberColumns = digitsOf(m_model.setup().levels);
    const QString value = valueText(level);
    const int barColumn = numberColumns + 5;
    const int bar = std::min(kWidestBar, canvas().columns() - barColumn - m_valueColumns);
    const Style style{ Role::Plain, isSelected && hasFocus };
    const QString sign = !isSelected ? QStringLiteral(" ")
                         : hasFocus  ? QStringLiteral("\u25b6")
                                     : QStringLiteral("\u25b7");
    const QString number = QString::number(level).rightJustified(numberColumns);
    if (bar < 4) { // a number says more than so short a bar
        canvas().put(row, 0, canvas().columns(), sign + number + QLatin1Char(' ') + value, style);
    } else {
        const qint64 span = qint64(range.highest) - range.lowest;
        const qint64 above = qint64(m_model.value(level)) - range.lowest;
        const int filled = span > 0 ? static_cast<int>(above * bar / span) : 0;
        canvas().put(row, 0, barColumn, QLatin1Char(' ') + sign + QLatin1Char(' ') + number, style);
        canvas().put(row, barColumn, filled, QString(filled, QChar(0x2588)), { Role::Bar, false });
        canvas().put(row, barColumn + filled, bar - filled, QString(bar - filled, QChar(0x2591)),
                     { Role::Faint, false });
        canvas().put(row, barColumn + bar, m_valueColumns, value.rightJustified(m_valueColumns - 1), style);
    }
    m_picture.areas.push_back(
        { Area::Kind::Level, level, place, row, bar < 4 ? 0 : barColumn, 1, bar < 4 ? canvas().columns() : bar });
}

void Painter::paintLog()
{
    if (m_layout.logRule >= 0) {
        const int all = static_cast<int>(m_model.log().lines().size());
        const QString where = m_logWindow.newer > 0 ? QStringLiteral("Log, lines %1 to %2 of %3")
                                                          .arg(m_logWindow.first + 1)
                                                          .arg(m_logWindow.first + m_logWindow.count)
                                                          .arg(all)
                                                    : QStringLiteral("Log");
        paintRule(m_layout.logRule, where,
                  m_layout.levelsRule < 0 ? seenButtons("buttons %1 to %2 of %3")
                                          : seen("levels %1 to %2 of %3", m_layout.firstLevel, m_layout.levelRows,
                                                 m_model.setup().levels.size()));
    }
    for (int index = 0; index < m_logWindow.count; ++index) {
        paintLogLine(m_model.log().lines().at(static_cast<size_t>(m_logWindow.first + index)), m_layout.logTop + index);
    }
    if (m_layout.logRows > 0) {
        m_picture.areas.push_back({ Area::Kind::Log, 0, 0, m_layout.logTop, 0, m_layout.logRows, canvas().columns() });
    }
}

void Painter::paintLogLine(const PanelLog::Line &line, int row)
{
    using Source = PanelLog::Source;
    const bool isSent = line.source == Source::Panel;
    const Role role = isSent ? Role::Sent : line.source == Source::Program ? Role::Command : Role::Plain;
    const QString sign = isSent                        ? QStringLiteral("\u2192 ")
                         : line.source == Source::Link ? QStringLiteral("\u00b7 ")
                                                       : QStringLiteral("\u2190 ");
    const bool showsTime = canvas().columns() >= 40;
    const int column = showsTime ? 10 : 0;
    canvas().put(row, 1, column - 1, line.when.toString(QStringLiteral("HH:mm:ss")), { Role::Faint, false });
    canvas().put(row, column, canvas().columns() - column, sign + ScreenText::without(line.text, m_model.logShift()),
                 { role, role == Role::Command });
}

void Painter::paintStatus()
{
    for (int index = 0; index < m_layout.statusRows; ++index) {
        canvas().put(m_layout.statusRow + index, 0, canvas().columns(), QLatin1Char(' ') + m_status.lines.value(index),
                     m_status.style);
    }
}

void Painter::paintRule(int row, const QString &title, const QString &atEnd)
{
    const QString line(canvas().columns(), QChar(0x2500));
    const Style style{ Role::Faint, false };
    canvas().put(row, 0, canvas().columns(), line, style);
    const QString shown = QLatin1Char(' ') + title + QLatin1Char(' ');
    canvas().put(row, 1, static_cast<int>(shown.size()), shown, style);
    if (!atEnd.isEmpty()) {
        const int width = static_cast<int>(atEnd.size()) + 2;
        canvas().put(row, std::max(0, canvas().columns() - width - 1), width,
                     QLatin1Char(' ') + atEnd + QLatin1Char(' '), style);
    }
}

QString Painter::buttonText(int channel) const
{
    const QChar held = m_model.isHeld(channel) ? QChar(0x25bc) : QChar(0x20);
    const QChar lit = m_model.isLit(channel) ? QChar(0x25cf) : QChar(0x25cb);
    const QString label = m_model.label(channel);
    const QString number = QString::number(channel).rightJustified(m_numberColumns);
    return QString(held) + lit + QLatin1Char(' ') + number + (label.isEmpty() ? QString() : QLatin1Char(' ') + label);
}

QString Painter::valueText(int level) const
{
    return m_model.hasValue(level) ? QString::number(m_model.value(level)) : QStringLiteral("-");
}

int Painter::widestValue() const
{
    int widest = 4;
    for (const int level : m_model.setup().levels) {
        widest = std::max(widest, static_cast<int>(valueText(level).size()));
    }
    return widest;
}
} // namespace

const PanelPicture::Area *PanelPicture::areaOf(Area::Kind kind, int code) const
{
    const auto found = std::find_if(areas.begin(), areas.end(),
                                    [kind, code](const Area &area) { return area.kind == kind && area.code == code; });
    return found == areas.end() ? nullptr : &*found;
}

const PanelPicture::Area *PanelPicture::areaAt(int row, int column) const
{
    const auto found = std::find_if(areas.begin(), areas.end(), [row, column](const Area &area) {
        return row >= area.row && row < area.row + area.rows && column >= area.column &&
               column < area.column + area.columns;
    });
    return found == areas.end() ? nullptr : &*found;
}

PanelPicture drawPanel(const PanelModel &model, int columns, int rows)
{
    return Painter(model, columns, rows).paint();
}
