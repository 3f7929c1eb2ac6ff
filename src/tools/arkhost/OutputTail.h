#pragma once
#include <QByteArray>
#include <QByteArrayList>

/// The last lines of an output, for the report of a crash. Bounded, whatever comes.
class OutputTail
{
public:
    static constexpr int kMaxLines = 60;
    static constexpr int kMaxLineBytes = 1000; // of a longer line the beginning is kept

    void take(const QByteArray &bytes); // in pieces of any size
    QByteArrayList lines() const;       // oldest first; the last may not have ended yet
    void clear();

private:
    void endLine();

    QByteArrayList m_lines;
    QByteArray m_open; // the line that has not ended
};
