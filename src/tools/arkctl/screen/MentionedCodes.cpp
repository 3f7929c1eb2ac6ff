#include "tools/arkctl/screen/MentionedCodes.h"

namespace {
constexpr qint64 kHighestMentionedCode = 65535;
constexpr qint64 kWidestGroup = 100;

void add(qint64 code, QVector<int> &codes)
{
    if (code >= 0 && code <= kHighestMentionedCode) {
        codes.append(static_cast<int>(code));
    }
}

void addRange(qint64 first, qint64 last, QVector<int> &codes)
{
    const bool isGroup = first >= 0 && last <= kHighestMentionedCode && first < last && last - first < kWidestGroup;
    for (qint64 code = first; isGroup && code <= last; ++code) {
        add(code, codes);
    }
}

void addSnapshot(const QByteArray &body, MentionedCodes &codes)
{
    const QVector<SnapshotRecord> records = decodeSnapshot(body);
    for (const SnapshotRecord &record : records) {
        const bool isLevel = record.kind == 0 && record.third != 0;
        add(isLevel ? record.third : record.channel, isLevel ? codes.levels : codes.channels);
        if (record.kind == 1) {
            addRange(record.third, record.fourth, codes.channels);
        }
        for (const int channel : record.channels) {
            add(channel, codes.channels);
        }
    }
}
} // namespace

MentionedCodes codesMentionedIn(const LinkMessage &message)
{
    MentionedCodes codes;
    for (const LinkMessage::Pair &pair : message.pairs) {
        add(pair.first, message.kind == LinkMessage::Kind::Levels ? codes.levels : codes.channels);
    }
    if (!message.field("channel").isEmpty()) {
        add(message.number("channel"), codes.channels);
    }
    // Containers have channels too, but they are no buttons.
    if (message.kind != LinkMessage::Kind::SetContainerProperty && message.kind != LinkMessage::Kind::ContainerCall) {
        const QVector<qint64> channels = message.channels();
        for (const qint64 channel : channels) {
            add(channel, codes.channels);
        }
    }
    if (message.kind == LinkMessage::Kind::RangeStatus) {
        addRange(message.number("first"), message.number("last"), codes.channels);
    } else if (message.kind == LinkMessage::Kind::Snapshot) {
        addSnapshot(message.body, codes);
    }
    return codes;
}
