#include "tools/arkctl/PanelState.h"
#include "base/PanelProperties.h"
#include "net/client/LinkClient.h"

namespace {
/// What to answer: what was set, else "0" where a number is asked for.
QByteArray answered(PropertyKind kind, const QByteArray &name, const QByteArray &known)
{
    const bool isNumber = panelPropertyType(kind, name) == PropertyType::Number;
    return known.isEmpty() && isNumber ? QByteArrayLiteral("0") : known;
}
} // namespace

std::optional<qint64> PanelState::level(qint64 code) const
{
    const auto found = m_levels.constFind(code);
    return found == m_levels.constEnd() ? std::nullopt : std::optional(*found);
}

QByteArray PanelState::stateProperty(qint64 channel, qint64 state, const QByteArray &name) const
{
    return m_stateProperties.value({ { channel, state }, name });
}

void PanelState::forgetFeedback()
{
    m_statuses.clear();
    m_levels.clear();
}

void PanelState::take(const LinkMessage &message)
{
    using Kind = LinkMessage::Kind;
    const auto status = static_cast<int>(message.number("status"));
    if (message.kind == Kind::RangeStatus) {
        takeRange(message.number("channel"), status, message.number("first"), message.number("last"));
    } else if (message.kind == Kind::ListStatus) {
        takeList(message.number("channel"), status, message.channels());
    } else if (message.kind == Kind::ChannelStatuses) {
        for (const LinkMessage::Pair &pair : message.pairs) {
            m_statuses.insert(pair.first, static_cast<int>(pair.second));
        }
    } else if (message.kind == Kind::Levels) {
        for (const LinkMessage::Pair &pair : message.pairs) {
            m_levels.insert(pair.first, pair.second);
        }
    } else if (message.kind == Kind::Snapshot) {
        takeSnapshot(message.body);
    } else if (message.kind == Kind::SetPageProperty) {
        m_pageProperties.insert({ message.field("page"), message.field("property") }, message.field("value"));
    } else if (message.kind == Kind::SetProperty || message.kind == Kind::SetStateProperty) {
        const QVector<qint64> channels = message.channels();
        for (const qint64 channel : channels) {
            if (message.kind == Kind::SetProperty) {
                m_properties.insert({ channel, message.field("property") }, message.field("value"));
            } else {
                m_stateProperties.insert({ { channel, message.number("state") }, message.field("property") },
                                         message.field("value"));
            }
        }
    }
}

void PanelState::answer(const LinkMessage &question, LinkClient &client) const
{
    using Kind = LinkMessage::Kind;
    const qint64 channel = question.number("channel");
    const qint64 state = question.number("state");
    const QByteArray name = question.field("property");
    const auto channelCode = static_cast<int>(channel);
    const auto stateIndex = static_cast<int>(state);
    if (question.kind == Kind::StatusQuery) {
        client.answerStatus(channelCode, status(channel));
    } else if (question.kind == Kind::TextQuery) {
        client.answerText(channelCode, stateIndex, stateProperty(channel, state, "text"));
    } else if (question.kind == Kind::PropertyQuery) {
        client.answerProperty(channelCode, name, answered(PropertyKind::Button, name, property(channel, name)));
    } else if (question.kind == Kind::StatePropertyQuery) {
        const QByteArray known = stateProperty(channel, state, name);
        client.answerStateProperty(channelCode, stateIndex, name, answered(PropertyKind::State, name, known));
    } else if (question.kind == Kind::PagePropertyQuery) {
        const QByteArray page = question.field("page");
        const QByteArray known = m_pageProperties.value({ page, name });
        client.answerPageProperty(page, name, answered(PropertyKind::Page, name, known));
    }
}

void PanelState::takeRange(qint64 channel, int status, qint64 first, qint64 last)
{
    if (status != 0 && last > first) {
        for (auto known = m_statuses.begin(); known != m_statuses.end(); ++known) {
            if (known.key() >= first && known.key() <= last) {
                *known = 0;
            }
        }
    }
    m_statuses.insert(channel, status);
}

void PanelState::takeList(qint64 channel, int status, const QVector<qint64> &group)
{
    if (status != 0) {
        for (const qint64 other : group) {
            m_statuses.insert(other, 0);
        }
    }
    m_statuses.insert(channel, status);
}

void PanelState::takeSnapshot(const QByteArray &body)
{
    const QVector<SnapshotRecord> records = decodeSnapshot(body);
    for (const SnapshotRecord &record : records) {
        if (record.kind == 1) {
            takeRange(record.channel, record.status, record.third, record.fourth);
        } else if (record.kind == 2) {
            takeList(record.channel, record.status, QVector<qint64>(record.channels.begin(), record.channels.end()));
        } else if (record.third != 0) {
            m_levels.insert(record.third, record.fourth);
        } else {
            m_statuses.insert(record.channel, record.status);
        }
    }
}
