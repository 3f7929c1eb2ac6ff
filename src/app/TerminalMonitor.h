#pragma once
#include <QObject>
#include <QString>
#include <QTime>

/// Monitor lines on standard output, for a person at the terminal.
/// Thread: made on the main thread; lines of any thread are printed at once, also while a program keeps the main
///         thread busy. Ends: with its owner.
class TerminalMonitor : public QObject
{
public:
    TerminalMonitor();
    ~TerminalMonitor() override;

    /// "12:34:56.789 warning  text"; a type without a name shows its number.
    static QString lineOf(const QTime &time, int type, const QString &text);
};
