#include "net/client/LinkMessage.h"
#include "net/link/LinkCodes.h"
#include <QDataStream>
#include <QList>

#include <algorithm>
#include <array>

namespace {
using Kind = LinkMessage::Kind;

/// A body of text fields joined by ":"; the last one named takes the rest, with any ":" in it.
struct Layout
{
    quint8 code;
    Kind kind;
    const char *prefix; // with its ":"; may be empty
    std::array<const char *, 4> fields;
};

constexpr Layout kLayouts[] = {
    { LinkCode::kInformation, Kind::Information, "", { "text" } },
    { LinkCode::kTextReply, Kind::TextReply, "", { "text" } },
    { LinkCode::kCommand, Kind::Command, "", { "text" } },
    { LinkCode::kStatusQuery, Kind::StatusQuery, "", { "channel" } },
    { LinkCode::kTextQuery, Kind::TextQuery, "text:", { "channel", "state" } },
    { LinkCode::kPropertyQuery, Kind::PropertyQuery, "property:", { "channel", "property" } },
    { LinkCode::kStatePropertyQuery, Kind::StatePropertyQuery, "stateproperty:", { "channel", "state", "property" } },
    { LinkCode::kPagePropertyQuery, Kind::PagePropertyQuery, "pageproperty:", { "page", "property" } },
    { LinkCode::kListStatus, Kind::ListStatus, "", { "channel", "status", "channels" } },
    { LinkCode::kSetProperty, Kind::SetProperty, "setproperty:", { "channels", "property", "value" } },
    { LinkCode::kSetStateProperty,
      Kind::SetStateProperty,
      "setstateproperty:",
      { "channels", "property", "state", "value" } },
    { LinkCode::kSetPageProperty, Kind::SetPageProperty, "setpageproperty:", { "page", "property", "value" } },
    { LinkCode::kSetContainerProperty,
      Kind::SetContainerProperty,
      "setcontainerproperty:",
      { "channels", "property", "value" } },
    { LinkCode::kContainerCall, Kind::ContainerCall, "containercall:", { "channels", "method", "value" } },
};

void decodeLayout(const Layout &layout, LinkMessage &message)
{
    if (!message.body.startsWith(layout.prefix)) {
        return;
    }
    QByteArray rest = message.body.mid(static_cast<int>(qstrlen(layout.prefix)));
    const auto count = std::count_if(layout.fields.begin(), layout.fields.end(), [](auto *name) { return name; });
    for (int index = 0; index < count; ++index) {
        const int colon = index + 1 < count ? rest.indexOf(':') : rest.size();
        if (colon < 0) {
            message.fields.clear();
            return;
        }
        message.fields.emplace_back(layout.fields.at(static_cast<size_t>(index)), rest.left(colon));
        rest.remove(0, colon + 1);
    }
    message.kind = layout.kind;
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
    switch (kind) {
    case Kind::Information:
        return "information";
    case Kind::MonitorLine:
        return "monitor-line";
    case Kind::TextReply:
        return "reply";
    case Kind::StatusQuery:
        return "status-query";
    case Kind::TextQuery:
        return "text-query";
    case Kind::PropertyQuery:
        return "property-query";
    case Kind::StatePropertyQuery:
        return "state-property-query";
    case Kind::PagePropertyQuery:
        return "page-property-query";
    case Kind::RangeStatus:
        return "feedback";
    case Kind::ChannelStatuses:
        return "feedback-channels";
    case Kind::ListStatus:
        return "feedback-list";
    case Kind::Levels:
        return "level";
    case Kind::Command:
        return "command";
    case Kind::SetProperty:
        return "set-property";
    case Kind::SetStateProperty:
        return "set-state-property";
    case Kind::SetPageProperty:
        return "set-page-property";
    case Kind::SetContainerProperty:
        return "set-container-property";
    case Kind::ContainerCall:
        return "container-call";
    case Kind::Snapshot:
        return "snapshot";
    case Kind::Other:
        return "other";
    }
    Q_UNREACHABLE();
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
    } else {
        const auto *const layout = std::find_if(std::begin(kLayouts), std::end(kLayouts),
                                                [code](const Layout &row) { return row.code == code; });
        if (layout != std::end(kLayouts)) {
            decodeLayout(*layout, message);
        }
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
