#include "events/ButtonStatusSaver.h"

#include <QDataStream>

#include <algorithm>

namespace {
constexpr int kSnapshotFormat = 1;
constexpr int kSnapshotLimit = 4080; // bytes; no further record begins once the snapshot is longer
constexpr int kStreamVersion = 16;
} // namespace

void ButtonStatusSaver::recordChannel(int channel, int status)
{
    if (channel == 0) {
        return;
    }
    const auto found = std::find_if(m_records.begin(), m_records.end(), [channel](const Record &record) {
        return record.kind == Kind::Single && record.channel == channel;
    });
    if (found != m_records.end()) {
        found->status = status;
    } else {
        m_records.push_back({ Kind::Single, channel, status });
    }
}

void ButtonStatusSaver::recordList(int channel, int status, const std::vector<int> &channels)
{
    if (channels.empty()) {
        recordChannel(channel, status);
        return;
    }
    if (channel == 0) {
        return;
    }
    const auto found = std::find_if(m_records.begin(), m_records.end(), [&channels](const Record &record) {
        return record.kind == Kind::List && record.channels == channels;
    });
    if (found != m_records.end()) {
        found->channel = channel;
        found->status = status;
    } else {
        m_records.push_back({ Kind::List, channel, status, 0, 0, channels });
    }
}

void ButtonStatusSaver::recordRange(int channel, int status, int first, int last)
{
    if (first >= last || last == 0) {
        recordChannel(channel, status);
        return;
    }
    if (channel == 0) {
        return;
    }
    const auto found = std::find_if(m_records.begin(), m_records.end(), [first, last](const Record &record) {
        return record.kind == Kind::Range && record.third == first && record.fourth == last;
    });
    if (found != m_records.end()) {
        found->channel = channel;
        found->status = status;
    } else {
        m_records.push_back({ Kind::Range, channel, status, first, last });
    }
}

void ButtonStatusSaver::recordLevel(int levelCode, int value)
{
    if (levelCode == 0) {
        return;
    }
    const auto found = std::find_if(m_records.begin(), m_records.end(), [levelCode](const Record &record) {
        return record.kind == Kind::Single && record.third == levelCode;
    });
    if (found != m_records.end()) {
        found->fourth = value;
    } else {
        m_records.push_back({ Kind::Single, 0, 0, levelCode, value });
    }
}

QByteArray ButtonStatusSaver::snapshot() const
{
    QByteArray bytes;
    if (m_records.empty()) {
        return bytes;
    }
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(kStreamVersion);
    stream << qint32(kSnapshotFormat) << static_cast<qint32>(m_records.size());
    for (const Record &record : m_records) {
        if (bytes.size() > kSnapshotLimit) {
            break;
        }
        stream << static_cast<qint32>(record.kind) << qint32(record.channel) << qint32(record.status);
        if (record.kind == Kind::List) {
            stream << static_cast<qint32>(record.channels.size());
            for (const int channel : record.channels) {
                stream << qint32(channel);
            }
        } else {
            stream << qint32(record.third) << qint32(record.fourth);
        }
    }
    return bytes;
}
