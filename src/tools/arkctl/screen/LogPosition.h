#pragma once
#include <QtGlobal>

#include <optional>

class PanelLog;

/// Where in the log a person reads: at its end, or at lines that stay where they are while new ones come.
class LogPosition
{
public:
    struct Window
    {
        int first = 0; // place of the uppermost line
        int count = 0; // lines to be seen
        int newer = 0; // lines below them
    };

    /// What is seen on so many rows. Where the lines have been forgotten meanwhile: the oldest ones that are there.
    Window window(const PanelLog &log, int rows) const;

    void move(const PanelLog &log, int rows, int lines); // rows as for window(); lines < 0: to older ones
    void toOldest(const PanelLog &log, int rows);
    void toNewest() { m_lowest.reset(); }

private:
    std::optional<quint64> m_lowest; // the number of the lowest line; none: the newest, whichever it is
};
