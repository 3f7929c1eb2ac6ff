#include "runtime/ErrorReports.h"

#include "base/Clock.h"
#include "base/Messages.h"

#include <QCoreApplication>

ErrorReports::~ErrorReports()
{
    Clock::instance().cancel(m_ticket);
}

void ErrorReports::add(Kind kind, const QString &text, const QString &where)
{
    const QString line = where.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, where);
    if (m_seen.size() >= kMostKept && m_seen.count({ kind, line }) == 0) {
        ++m_seen[{ kind, QString() }];
        return;
    }
    if (m_ticket == 0) {
        m_ticket = Clock::instance().every(1000, [this] { endSecond(); });
    }
    if (++m_seen[{ kind, line }] <= kMostASecond) {
        m_output(kind, line);
    }
}

void ErrorReports::endSecond()
{
    const auto seen = std::exchange(m_seen, {});
    if (seen.empty()) {
        Clock::instance().cancel(std::exchange(m_ticket, 0));
    }
    for (const auto &[line, times] : seen) {
        const int more = line.second.isEmpty() ? times : times - kMostASecond;
        if (more > 0) {
            m_output(line.first, line.second.isEmpty()
                                     ? translated(QT_TRANSLATE_NOOP("messages", "%1 more of other kinds")).arg(more)
                                     : translated(QT_TRANSLATE_NOOP("messages", "%1 [%2 times more]"))
                                           .arg(line.second, QString::number(more)));
        }
    }
}
