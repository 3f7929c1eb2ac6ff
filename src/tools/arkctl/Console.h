#pragma once
#include "base/Descriptor.h"
#include <QObject>

#include <string>

class QSocketNotifier;

/// How the tool ends; the numbers are its exit status.
enum class Outcome { Done = 0, Failed = 1, WrongUse = 2 };

/// Standard output and the wish of the person or program in front of it to stop.
/// Owns: a signal descriptor, which takes SIGINT and SIGTERM from the whole process. Thread: the main thread.
/// Ends: with the process.
class Console : public QObject
{
    Q_OBJECT
public:
    explicit Console(QObject *parent = nullptr);
    ~Console() override;

    void print(const std::string &line); // and a line end, at once

    /// Writes to standard output at once; says so when that fails, unless only nobody reads it any more.
    enum class Written { Done, NoReader, Failed };
    static Written write(const std::string &text);

    /// One line on standard error: what happened and where, and what to try.
    static void complain(const std::string &whatAndWhere, const std::string &tryThis);

Q_SIGNALS:
    void outputFailed();  // it has been said why
    void stopRequested(); // interrupted, or nobody reads the output any more

private:
    Descriptor m_signals;
    QSocketNotifier *m_notifier = nullptr; // Qt child
    bool m_isBroken = false;               // the reader of the output has gone
};
