#pragma once
#include "net/client/LinkMessage.h"
#include <QHash>
#include <QPair>

#include <optional>

class LinkClient;

/// What a panel would show: remembers what the controller has set, to answer its questions from it.
/// Groups are radio buttons: one that goes on turns the others of its list or range off.
class PanelState
{
public:
    int status(qint64 channel) const { return m_statuses.value(channel); }
    std::optional<qint64> level(qint64 code) const;
    QByteArray property(qint64 channel, const QByteArray &name) const { return m_properties.value({ channel, name }); }
    QByteArray stateProperty(qint64 channel, qint64 state, const QByteArray &name) const;

    void take(const LinkMessage &message);
    void moveLevel(qint64 code, qint64 value) { m_levels.insert(code, value); } // by a person
    void forgetFeedback(); // states and levels are the controller's; texts and other properties are the panel's own

    /// Answers a question; a property that was never set is 0 or empty. Other messages: nothing.
    void answer(const LinkMessage &question, LinkClient &client) const;

private:
    using StateKey = QPair<QPair<qint64, qint64>, QByteArray>; // channel, state, name
    void takeRange(qint64 channel, int status, qint64 first, qint64 last);
    void takeList(qint64 channel, int status, const QVector<qint64> &group);
    void takeSnapshot(const QByteArray &body);

    QHash<qint64, int> m_statuses;  // by channel
    QHash<qint64, qint64> m_levels; // by level code
    QHash<QPair<qint64, QByteArray>, QByteArray> m_properties;
    QHash<StateKey, QByteArray> m_stateProperties;
    QHash<QPair<QByteArray, QByteArray>, QByteArray> m_pageProperties;
};
