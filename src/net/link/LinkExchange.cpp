#include "net/link/LinkExchange.h"
#include "net/link/LinkTable.h"

std::vector<Frame> &LinkExchange::cut(const char *bytes, int count)
{
    m_frames.clear();
    m_parser.feed(bytes, count, m_frames);
    return m_frames;
}

quint32 LinkExchange::sendMessage(quint8 code, const QByteArray &body, qint64 nowMs)
{
    const quint32 id = nextMessageId();
    const QByteArray frame = messageFrameBytes(code, id, body);
    m_pending.add(id, frame, nowMs);
    sendFrame(frame);
    return id;
}

void LinkExchange::sendLevel(int levelCode, int level, qint64 nowMs)
{
    const quint32 id = nextMessageId();
    const QByteArray frame = messageFrameBytes(LinkCode::kLevel, id, linkBody<LinkCode::kLevel>(levelCode, level));
    m_pending.addLevel(id, levelCode, frame, nowMs);
    sendFrame(frame);
}

std::optional<quint32> LinkExchange::takeAcknowledgement(const Frame &frame)
{
    const std::optional<quint32> id = messageIdOf(frame.body);
    return id && m_pending.acknowledge(*id) ? id : std::nullopt;
}

std::optional<QByteArray> LinkExchange::takeMessage(const Frame &frame, qint64 nowMs)
{
    const std::optional<quint32> id = messageIdOf(frame.body);
    if (!id) {
        return std::nullopt;
    }
    constexpr int idSize = sizeof *id;
    sendPlain(LinkCode::kAcknowledgement, frame.body.left(idSize));
    return m_received.isNew(*id, nowMs) ? std::optional(frame.body.mid(idSize)) : std::nullopt;
}

void LinkExchange::sendAgain(qint64 nowMs)
{
    if (m_output.isEmpty()) { // else the first copies have not even left
        if (const QByteArray due = m_pending.dueFrames(nowMs); !due.isEmpty()) {
            sendFrame(due);
        }
    }
}

quint32 LinkExchange::nextMessageId()
{
    if (++m_lastMessageId == 0) {
        m_lastMessageId = 1; // 0 is never sent
    }
    return m_lastMessageId;
}
