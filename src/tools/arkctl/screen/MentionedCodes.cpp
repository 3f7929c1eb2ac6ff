#include "tools/arkctl/screen/MentionedCodes.h"

namespace {
using Kind = LinkMessage::Kind;

constexpr qint64 kHighestCode = 65535;
constexpr qint64 kWidestGroup = 100;

void add(qint64 code, QVector<int> &codes)
{
    if (code >= 0 && code <= kHighestCode) {
        codes.append(static_cast<int>(code));
    }
}

void addRange(qint64 first, qint64 last, QVector<int> &codes)
{
    const bool isGroup = first >= 0 && last <= kHighestCode && first < last && last - first < kWidestGroup;
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
        add(pair.first, message.kind == Kind::Levels ? codes.levels : codes.channels);
    }
    if (!message.field("channel").isEmpty()) {
        add(message.number("channel"), codes.channels);
    }
    // Containers have channels too, but they are no buttons.
    if (message.kind != Kind::SetContainerProperty && message.kind != Kind::ContainerCall) {
        const QVector<qint64> channels = message.channels();
        for (const qint64 channel : channels) {
            add(channel, codes.channels);
        }
    }
    if (message.kind == Kind::RangeStatus) {
        addRange(message.number("first"), message.number("last"), codes.channels);
    } else if (message.kind == Kind::Snapshot) {
        addSnapshot(message.body, codes);
    }
    return codes;
}
