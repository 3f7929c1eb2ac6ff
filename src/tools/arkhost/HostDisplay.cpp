#include "tools/arkhost/HostDisplay.h"

#include <cstdio>

#include <sys/stat.h>
#include <unistd.h>

namespace {
bool areSameFile(int one, int other)
{
    struct stat first = {};
    struct stat second = {};
    return ::fstat(one, &first) == 0 && ::fstat(other, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

/// It understands the few codes that the status line needs.
bool isCapable(const HostTerminal &terminal)
{
    const QByteArray kind = qgetenv("TERM");
    return terminal.isTerminal() && !kind.isEmpty() && kind != "dumb";
}
} // namespace

HostDisplay::HostDisplay(Form wanted)
    : m_output(STDOUT_FILENO)
    , m_errors(STDERR_FILENO)
    , m_hasStatusLine(wanted == Form::WithStatusLine && isCapable(m_output))
    , m_isOneTerminal(areSameFile(STDOUT_FILENO, STDERR_FILENO))
{}

HostDisplay::~HostDisplay()
{
    m_output.write(m_status.away());
}

void HostDisplay::say(const QString &line)
{
    const QByteArray start = m_lineIsOpen ? QByteArray("\n") : QByteArray();
    showOutput(start + line.toLocal8Bit() + '\n');
}

void HostDisplay::showOutput(const QByteArray &bytes)
{
    m_lineIsOpen = bytes.isEmpty() ? m_lineIsOpen : !bytes.endsWith('\n');
    m_output.write(m_hasStatusLine ? m_status.output(bytes) : bytes);
}

void HostDisplay::showErrors(const QByteArray &bytes)
{
    if (m_isOneTerminal) { // one writer keeps the order, and the status line out of the way
        showOutput(bytes);
    } else {
        m_errors.write(bytes);
    }
}

void HostDisplay::showStatus(const QString &line)
{
    if (m_hasStatusLine && m_output.isIdle()) { // a terminal that stands still gets the next one
        m_output.write(m_status.show(line.toLocal8Bit(), m_output.columns()));
    }
}

void HostDisplay::complain(const QString &whatAndWhy)
{
    std::fputs((QStringLiteral("arkhost: ") + whatAndWhy + QLatin1Char('\n')).toLocal8Bit().constData(), stderr);
}
