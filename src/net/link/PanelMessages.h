#pragma once
#include "base/PanelProperties.h"

/// What the program says to panels, as messages of the link. Pure.
namespace PanelMessages {
struct Message
{
    quint8 code = 0;
    QByteArray body;
};

Message question(const PanelQuestion &question);
Message setting(const PanelSetting &setting);
Message statusRange(int channel, int status, int first, int last);
Message statusList(int channel, int status, const QVector<int> &channels);
Message statuses(const QVector<qint64> &channels, const QVector<qint64> &statuses); // there is at least one
Message levels(const QVector<qint64> &codes, const QVector<qint64> &levels);

/// What the program is told when the message is longer than panels take, which a page's may be; nullptr: it is not.
const char *problemOf(const PanelSetting &setting, const Message &message);
} // namespace PanelMessages
