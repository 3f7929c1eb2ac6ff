#pragma once
#include <QString>

#include <vector>

/// What a cell means; the terminal knows how it looks with and without colours.
enum class Role {
    Plain,
    Faint,   // rules, times, buttons out of use
    Heading, // the first line
    Alarm,   // the first line while there is no connection, and faults
    Lit,
    Held,
    Bar,     // the filled part of a slider
    Sent,    // in the log
    Command, // in the log
};

struct Style
{
    Role role = Role::Plain;
    bool isStrong = false;

    friend bool operator==(const Style &a, const Style &b) = default;
};

/// A screen in the making: rows of cells. Whatever is put outside is clipped, so that any size is safe.
class Canvas
{
public:
    struct Cell
    {
        QString text = QStringLiteral(" "); // one character and its accents; empty: the right half of a wide one
        Style style;
    };

    Canvas(int columns, int rows);

    int columns() const { return m_columns; }
    int rows() const { return static_cast<int>(m_rows.size()); }
    const std::vector<Cell> &row(int row) const { return m_rows.at(static_cast<size_t>(row)); }
    QString text(int row) const; // of its cells

    /// Puts a printable text, cut or filled up to that many columns.
    void put(int row, int column, int width, const QString &text, Style style);

private:
    void place(int row, int column, const QString &character, int width, Style style);

    int m_columns = 0;
    std::vector<std::vector<Cell>> m_rows;
};
