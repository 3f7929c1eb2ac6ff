#pragma once
#include "tools/arkhost/HostStatusLine.h"
#include "tools/arkhost/HostTerminal.h"

#include <QString>

/// What a person sees: the controller's output as it comes, the supervisor's own lines, and on a terminal a status line
/// below them.
/// Owns: both terminals. Thread: the main thread. Ends: when all is out, or after a second.
class HostDisplay
{
public:
    enum class Form { Plain, WithStatusLine };

    explicit HostDisplay(Form wanted); // Plain also where standard output is no terminal
    ~HostDisplay();
    HostDisplay(const HostDisplay &) = delete;
    HostDisplay &operator=(const HostDisplay &) = delete;

    bool hasStatusLine() const { return m_hasStatusLine; }

    void say(const QString &line);                   // the supervisor's
    void showOutput(const QByteArray &bytes);        // the controller's
    void showErrors(const QByteArray &bytes);        // the controller's standard error
    void showStatus(const QString &line);            // nothing without a status line
    static void complain(const QString &whatAndWhy); // on standard error, before or after all the others

private:
    HostTerminal m_output;
    HostTerminal m_errors;
    const bool m_hasStatusLine;
    const bool m_isOneTerminal; // standard error goes where standard output goes
    HostStatusLine m_status;
    bool m_lineIsOpen = false; // of the controller's output
};
