#pragma once
#include <QByteArray>
#include <QPair>
#include <QVector>

#include <utility>
#include <vector>

/// What a controller has sent to a peer, taken apart. Used by tools and tests; the controller itself never needs it.
struct LinkMessage
{
    enum class Kind {
        Information,          // field: text
        MonitorLine,          // fields: type, text
        TextReply,            // field: text
        StatusQuery,          // channel
        TextQuery,            // channel, state
        PropertyQuery,        // channel, property
        StatePropertyQuery,   // channel, state, property
        PagePropertyQuery,    // page, property
        RangeStatus,          // channel, status, first, last; first and last are 0 for a single channel
        ChannelStatuses,      // pairs of channel and status
        ListStatus,           // channel, status, channels (joined by ",")
        Levels,               // pairs of level code and level
        Command,              // text
        SetProperty,          // channels, property, value
        SetStateProperty,     // channels, property, state, value
        SetPageProperty,      // page, property, value
        SetContainerProperty, // channels, property, value
        ContainerCall,        // channels, method, value
        Snapshot,             // none; decodeSnapshot reads the body
        Other,                // none: unknown code, or a body that does not fit
    };
    using Pair = QPair<qint64, qint64>;
    using Field = std::pair<QByteArray, QByteArray>; // name and value

    Kind kind = Kind::Other;
    quint8 code = 0;
    QByteArray body; // whole, without the message id
    std::vector<Field> fields;
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
