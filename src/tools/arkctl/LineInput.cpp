#include "tools/arkctl/LineInput.h"
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace {
constexpr int kLongestLine = 4096;
}

LineInput::LineInput(QObject *parent)
    : QObject(parent)
    , m_notifier(new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this))
{
    m_notifier->setEnabled(false);
    connect(m_notifier, &QSocketNotifier::activated, this, &LineInput::readMore);
}

void LineInput::ask()
{
    m_notifier->setEnabled(!tellLine());
}

void LineInput::readMore()
{
    std::array<char, kLongestLine> bytes{};
    const ssize_t count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count < 0) {
        if (errno != EINTR && errno != EAGAIN) {
            m_notifier->setEnabled(false);
            Q_EMIT failed(std::strerror(errno));
        }
        return;
    }
    m_isAtEnd = count == 0;
    m_waiting.append(bytes.data(), static_cast<int>(count));
    // Off before the signal: the receiver may ask for the next line.
    m_notifier->setEnabled(false);
    if (!tellLine()) {
        m_notifier->setEnabled(true);
    }
}

/// Also tells the end and a line that is too long; false when there is nothing to tell yet.
bool LineInput::tellLine()
{
    const int end = m_waiting.indexOf('\n');
    if (end < 0 && m_waiting.size() > kLongestLine) {
        ++m_lineNumber;
        Q_EMIT failed("line " + std::to_string(m_lineNumber) + " is too long");
        return true;
    }
    if (end < 0 && !m_isAtEnd) {
        return false;
    }
    if (end < 0 && m_waiting.isEmpty()) {
        Q_EMIT ended();
        return true;
    }
    const QByteArray text = end < 0 ? m_waiting : m_waiting.left(end); // the last line may lack its end
    m_waiting.remove(0, end < 0 ? m_waiting.size() : end + 1);
    ++m_lineNumber;
    Q_EMIT line(text.toStdString());
    return true;
}
