#pragma once
#include "base/Monitor.h"

#include <QObject>
#include <QStringList>

/// The monitor lines written while it lives, as "type text".
class MonitorLines : public QObject
{
public:
    MonitorLines()
    {
        NotificationCenter::instance().addListener();
        connect(&NotificationCenter::instance(), &NotificationCenter::line, this,
                [this](int type, const QString &text) { m_lines << QString::number(type) + QLatin1Char(' ') + text; });
    }
    ~MonitorLines() override { NotificationCenter::instance().removeListener(); }

    QStringList take() { return std::exchange(m_lines, {}); }

private:
    QStringList m_lines;
};
