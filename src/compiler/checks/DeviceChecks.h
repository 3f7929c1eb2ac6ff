#pragma once
#include "compiler/parsing/ExpressionParser.h"

#include <map>

/// Warns of devices that cannot do what is asked of them, and of what is declared twice for one channel.
class DeviceChecks
{
public:
    explicit DeviceChecks(Workspace &workspace)
        : m_work(workspace)
    {}

    void switching(const ButtonExpression &channels, SourcePosition position);
    void sending(const DeviceExpr &device, SourcePosition position); // of a string
    void dataPart(const DeviceAddress &device, const QString &part, SourcePosition position);
    bool isPanelState(const ButtonExpression &channel) const; // whose answer comes from outside

    /// A part of a handler of buttons: push, release, or hold with its time.
    void buttonPart(const std::vector<std::unique_ptr<ButtonExpression>> &buttons, const QString &part,
                    SourcePosition position);
    void exclusive(const DeviceAddress &device, const std::vector<int> &channels, SourcePosition position);
    void exclusive(const DeviceAddress &device, int first, int last, SourcePosition position);

private:
    struct Range
    {
        DeviceAddress device;
        int first;
        int last;
        SourcePosition position;
    };
    void report(Fault code, SourcePosition position, const QStringList &arguments)
    {
        m_work.sources.report(code, position, arguments);
    }
    std::vector<DeviceAddress> devicesOf(const ButtonExpression &button) const; // constant ones
    std::vector<double> channelsOf(const ButtonExpression &button) const;
    void addRange(const Range &range);

    Workspace &m_work;
    std::map<std::pair<std::pair<int, int>, QString>, SourcePosition> m_parts; // by device, channel and part
    std::vector<Range> m_exclusives;
};
