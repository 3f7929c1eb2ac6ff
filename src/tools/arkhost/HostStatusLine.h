#pragma once
#include <QByteArray>

/// A line that stays below the output of a terminal: what to write so that output passes above it. Knows no terminal.
/// The line is drawn only where the output has ended a line of its own; until then it is away.
class HostStatusLine
{
public:
    QByteArray output(const QByteArray &bytes);           // the bytes to write for some output
    QByteArray show(const QByteArray &text, int columns); // and to show a text; cut to the width, so it never wraps
    QByteArray away();                                    // to leave the terminal as it was found

private:
    QByteArray drawn() const;

    QByteArray m_text;
    bool m_isDrawn = false;
    bool m_lineIsOpen = false; // of the output
};
