#pragma once
#include "net/link/LinkCodes.h"
#include <QByteArray>
#include <QPair>
#include <QVector>

#include <utility>
#include <vector>

/// What a controller has sent to a peer, taken apart. Used by tools and tests; the controller itself never needs it.
struct LinkMessage
{
    /// The codes of the table of link messages, and two more.
    enum class Kind : quint8 {
        Information = LinkCode::kInformation,
        MonitorLine = LinkCode::kMonitorLine, // fields: type, text
        TextReply = LinkCode::kTextReply,
        StatusQuery = LinkCode::kStatusQuery,
        TextQuery = LinkCode::kTextQuery,
        PropertyQuery = LinkCode::kPropertyQuery,
        StatePropertyQuery = LinkCode::kStatePropertyQuery,
        PagePropertyQuery = LinkCode::kPagePropertyQuery,
        RangeStatus = LinkCode::kChannelStatus, // channel, status, first, last; the last two are 0 for a single channel
        ListStatus = LinkCode::kListStatus,
        Levels = LinkCode::kLevel, // pairs of level code and level
        Command = LinkCode::kCommand,
        SetProperty = LinkCode::kSetProperty,
        SetStateProperty = LinkCode::kSetStateProperty,
        SetPageProperty = LinkCode::kSetPageProperty,
        SetContainerProperty = LinkCode::kSetContainerProperty,
        ContainerCall = LinkCode::kContainerCall,
        Snapshot = LinkCode::kSnapshot, // none; decodeSnapshot reads the body
        ChannelStatuses = 0xFF,         // of kChannelStatus too: pairs of channel and status
        Other = 0,                      // none: unknown code, or a body that does not fit
    };
    using Pair = QPair<qint64, qint64>;
    using Field = std::pair<QByteArray, QByteArray>; // name and value

    Kind kind = Kind::Other;
    quint8 code = 0;
    QByteArray body;           // whole, without the message id
    std::vector<Field> fields; // as the table of link messages names them
    QVector<Pair> pairs;

    QByteArray field(const char *name) const; // empty when there is none
    qint64 number(const char *name) const;    // 0 when there is none
    QVector<qint64> channels() const;         // the field of that name
};

/// The kind in lower-case words joined by "-", as the tools show it.
const char *linkMessageKindName(LinkMessage::Kind kind);

LinkMessage decodeLinkMessage(quint8 code, const QByteArray &body);

/// One record of the button-status snapshot.
struct SnapshotRecord
{
    int kind = 0; // 0 single, 1 range, 2 list
    int channel = 0;
    int status = 0;
    int third = 0;         // level code or first channel
    int fourth = 0;        // level value or last channel
    QVector<int> channels; // kind 2
};

/// The whole records of a snapshot; those that were cut off, or are malformed, are missing.
QVector<SnapshotRecord> decodeSnapshot(const QByteArray &body);
