#include "net/client/LinkMessage.h"
#include "net/link/LinkTable.h"
#include <QDataStream>
#include <QList>

#include <algorithm>

namespace {
using Kind = LinkMessage::Kind;

void decodeFields(const LinkMessageRow &row, LinkMessage &message)
{
    const std::vector<QByteArray> values = linkFields(row, message.body);
    for (size_t index = 0; index < values.size(); ++index) {
        message.fields.emplace_back(row.fields.at(index), values[index]);
        message.kind = static_cast<Kind>(row.code);
    }
}

void decodePairs(Kind kind, LinkMessage &message)
{
    const QList<QByteArray> numbers = message.body.split(':');
    if (numbers.size() % 2 != 0) {
        return;
    }
    for (int index = 0; index < numbers.size(); index += 2) {
        message.pairs.append({ numbers.at(index).toLongLong(), numbers.at(index + 1).toLongLong() });
    }
    message.kind = kind;
}

void decodeChannelStatus(LinkMessage &message)
{
    const QList<QByteArray> fields = message.body.split(':');
    const int dash = fields.size() == 3 ? fields.at(2).indexOf('-', 1) : -1;
    if (dash < 0) {
        decodePairs(Kind::ChannelStatuses, message);
        return;
    }
    message.kind = Kind::RangeStatus;
    message.fields = { { "channel", fields.at(0) },
                       { "status", fields.at(1) },
                       { "first", fields.at(2).left(dash) },
                       { "last", fields.at(2).mid(dash + 1) } };
}

void decodeMonitorLine(LinkMessage &message)
{
    if (!message.body.isEmpty()) {
        message.kind = Kind::MonitorLine;
        message.fields = { { "type", QByteArray::number(static_cast<quint8>(message.body.at(0))) },
                           { "text", message.body.mid(1) } };
    }
}
} // namespace

QByteArray LinkMessage::field(const char *name) const
{
    const auto found =
        std::find_if(fields.begin(), fields.end(), [name](const Field &one) { return one.first == name; });
    return found == fields.end() ? QByteArray() : found->second;
}

qint64 LinkMessage::number(const char *name) const
{
    return field(name).toLongLong();
}

QVector<qint64> LinkMessage::channels() const
{
    QVector<qint64> codes;
    const QList<QByteArray> parts = field("channels").split(',');
    for (const QByteArray &part : parts) {
        bool converts = false;
        if (const qint64 channel = part.toLongLong(&converts); converts) {
            codes.append(channel);
        }
    }
    return codes;
}

const char *linkMessageKindName(LinkMessage::Kind kind)
{
    if (kind == Kind::ChannelStatuses) {
        return "feedback-channels";
    }
    const LinkMessageRow *const row = findLinkMessage(static_cast<quint8>(kind), LinkMessageRow::To::Peer);
    return row ? row->name : "other";
}

LinkMessage decodeLinkMessage(quint8 code, const QByteArray &body)
{
    LinkMessage message;
    message.code = code;
    message.body = body;
    if (code == LinkCode::kChannelStatus) {
        decodeChannelStatus(message);
    } else if (code == LinkCode::kLevel) {
        decodePairs(Kind::Levels, message);
    } else if (code == LinkCode::kMonitorLine) {
        decodeMonitorLine(message);
    } else if (code == LinkCode::kSnapshot) {
        message.kind = Kind::Snapshot;
    } else if (const LinkMessageRow *const row = findLinkMessage(code, LinkMessageRow::To::Peer)) {
        decodeFields(*row, message);
    }
    return message;
}

QVector<SnapshotRecord> decodeSnapshot(const QByteArray &body)
{
    QVector<SnapshotRecord> records;
    QDataStream stream(body);
    stream.setVersion(QDataStream::Qt_5_5); // stream version 16
    qint32 format = 0;
    qint32 count = 0;
    stream >> format >> count;
    while (format == 1 && records.size() < count) {
        SnapshotRecord record;
        stream >> record.kind >> record.channel >> record.status >> record.third;
        if (record.kind != 2) {
            stream >> record.fourth;
        }
        for (int left = record.kind == 2 ? record.third : 0; left > 0 && stream.status() == QDataStream::Ok; --left) {
            qint32 channel = 0;
            stream >> channel;
            record.channels.append(channel);
        }
        if (stream.status() != QDataStream::Ok) {
            break;
        }
        records.append(record);
    }
    return records;
}
