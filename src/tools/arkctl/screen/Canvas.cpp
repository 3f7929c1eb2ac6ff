#include "tools/arkctl/screen/Canvas.h"
#include "tools/arkctl/screen/ScreenText.h"
#include <QVector>

#include <algorithm>

Canvas::Canvas(int columns, int rows)
    : m_columns(std::max(columns, 0))
    , m_rows(static_cast<size_t>(std::max(rows, 0)), std::vector<Cell>(static_cast<size_t>(m_columns)))
{}

QString Canvas::text(int row) const
{
    QString whole;
    for (const Cell &cell : this->row(row)) {
        whole += cell.text;
    }
    return whole;
}

void Canvas::put(int row, int column, int width, const QString &text, Style style)
{
    const int room = std::min(width, m_columns - column);
    if (row < 0 || row >= rows() || column < 0 || room <= 0) {
        return;
    }
    int at = column;
    const QVector<uint> codes = ScreenText::fitted(text, room).toUcs4();
    for (const uint code : codes) {
        const QString character = QString::fromUcs4(&code, 1);
        const int wide = ScreenText::columnsOf(character);
        if (wide > 0) {
            place(row, at, character, wide, style);
        } else if (at > column) {
            auto &cells = m_rows.at(static_cast<size_t>(row));
            const auto last = static_cast<size_t>(at - 1);
            cells.at(cells.at(last).text.isEmpty() ? last - 1 : last).text += character;
        }
        at += wide;
    }
}

void Canvas::place(int row, int column, const QString &character, int width, Style style)
{
    auto &cells = m_rows.at(static_cast<size_t>(row));
    const auto first = static_cast<size_t>(column);
    const size_t end = first + static_cast<size_t>(width);
    // Half of a wide character that was there before is no character.
    if (cells.at(first).text.isEmpty()) {
        cells.at(first - 1).text = QLatin1Char(' ');
    }
    if (end < cells.size() && cells.at(end).text.isEmpty()) {
        cells.at(end).text = QLatin1Char(' ');
    }
    cells.at(first) = { character, style };
    if (width == 2) {
        cells.at(first + 1) = { QString(), style };
    }
}
