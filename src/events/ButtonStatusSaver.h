#pragma once
#include <QByteArray>

#include <vector>

/// The feedback sent to one panel device so far, so that a panel that connects later gets the present state.
/// Codes of 0 are ignored.
class ButtonStatusSaver
{
public:
    void recordChannel(int channel, int status);
    void recordList(int channel, int status, const std::vector<int> &channels); // empty list: the channel alone
    void recordRange(int channel, int status, int first, int last);             // not first < last: the channel alone
    void recordLevel(int levelCode, int value);

    /// Bytes of the snapshot frame, at most a record past 4080; empty while nothing is recorded.
    /// Layout: docs/formats/button-snapshot.md.
    QByteArray snapshot() const;

private:
    enum class Kind : int { Single = 0, Range = 1, List = 2 };
    struct Record
    {
        Kind kind;
        int channel;
        int status;
        int third = 0;  // Single: level code; Range: first channel
        int fourth = 0; // Single: level value; Range: last channel
        std::vector<int> channels{};
    };
    std::vector<Record> m_records; // in the order of first use
};
