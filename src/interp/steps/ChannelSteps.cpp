#include "interp/steps/ChannelSteps.h"

#include "base/Clock.h"
#include "interp/Channels.h"
#include "interp/Interpreter.h"
#include "interp/Preparer.h"
#include "interp/Run.h"
#include "interp/nodes/DeviceStatements.h"
#include "interp/steps/BlockSteps.h"
#include "program/AST.h"

#include <QPointer>

#include <algorithm>

// Switching channels: ON, OFF, TO, PULSE and assignment.

namespace {
/// Applies the first exclusive group that governs a channel of the controller's own ports. False: there is none.
bool switchInGroup(AST &program, const DeviceAddress &device, int channel, bool isOff)
{
    for (const auto &group : program.exclusives()) {
        if (!group->contains(program, device.number, device.port, channel)) {
            continue;
        }
        DeviceActions &devices = *program.devices();
        if (!isOff) {
            for (const int member : group->channels()) { // all open before one closes: motors and amplifiers hang there
                if (member != channel) {
                    devices.switchChannel(device, PortAction::Off, member);
                }
            }
        }
        devices.switchChannel(device, isOff ? PortAction::Off : PortAction::On, channel);
        return true;
    }
    return false;
}

/// The feedback of several channels of one panel at once. status is parallel to channels.
void setChannelsFeedback(AST &program, int deviceNumber, const std::vector<qint64> &channels,
                         const std::vector<qint64> &statuses)
{
    bool anyInGroup = false;
    QVector<qint64> plainChannels;
    QVector<qint64> plainStatuses;
    for (size_t index = 0; index < channels.size(); ++index) {
        const auto channel = static_cast<int>(channels[index]);
        const bool inGroup =
            std::any_of(program.exclusives().begin(), program.exclusives().end(),
                        [&](const auto &group) { return group->contains(program, deviceNumber, 0, channel); });
        if (inGroup) {
            anyInGroup = true;
            setChannelFeedback(program, deviceNumber, channel, static_cast<int>(statuses[index]));
        }
        plainChannels.append(channels[index]);
        plainStatuses.append(statuses[index]);
    }
    if (!anyInGroup) {
        program.devices()->setButtonStatuses(deviceNumber, plainChannels, plainStatuses);
    }
}

/// ON, OFF, TO and PULSE.
class OnOffStep : public Step
{
public:
    OnOffStep(PortAction action, ChannelCode channels)
        : m_action(action)
        , m_channels(std::move(channels))
    {}

    Flow execute(Run &run) const override
    {
        if (!run.program().devices()) {
            return Flow::Next;
        }
        for (const ChannelGroup &group : m_channels.collect(run)) {
            for (const qint64 channel : group.channels) {
                if (!switchOne(run, group.device, static_cast<int>(channel))) {
                    return Flow::Next;
                }
            }
        }
        return Flow::Next;
    }

private:
    /// False: an exclusive group was applied, which ends the statement.
    bool switchOne(Run &run, const DeviceAddress &device, int channel) const
    {
        AST &program = run.program();
        if (device.number == kControllerDevice) {
            if (switchInGroup(program, device, channel, m_action == PortAction::Off)) {
                return false;
            }
            program.devices()->switchChannel(device, m_action, channel);
            return true;
        }
        for (const DeviceAddress &address : program.expandDevice(device)) {
            setPanelChannel(run, address, channel);
        }
        return true;
    }

    void setPanelChannel(Run &run, const DeviceAddress &address, int channel) const
    {
        AST &program = run.program();
        setChannelFeedback(program, address.number, channel, m_action == PortAction::Off ? 0 : 1);
        if (m_action == PortAction::To) {
            run.interpreter().heldPanelChannels().push_back({ address, channel });
        } else if (m_action == PortAction::Pulse) {
            Clock::instance().after(program.pulseTimeMs(),
                                    [tree = QPointer<AST>(&program), number = address.number, channel] {
                                        if (tree && tree->devices()) {
                                            setChannelFeedback(*tree, number, channel, 0);
                                        }
                                    });
        }
    }

    PortAction m_action;
    ChannelCode m_channels;
};

class ChannelAssignmentStep : public Step
{
public:
    ChannelAssignmentStep(ChannelCode channels, std::unique_ptr<Code> value)
        : m_channels(std::move(channels))
        , m_value(std::move(value))
    {}

    Flow execute(Run &run) const override
    {
        AST &program = run.program();
        if (!program.devices()) {
            return Flow::Next;
        }
        const std::vector<ChannelGroup> groups = m_channels.collect(run);
        const std::vector<qint64> values = wholeNumbersOf(*m_value, run);
        for (const ChannelGroup &group : groups) {
            std::vector<qint64> own;
            for (const int index : group.valueIndexes) {
                own.push_back(static_cast<size_t>(index) < values.size() ? values[static_cast<size_t>(index)] : 0);
            }
            if (group.device.number == kControllerDevice) {
                if (!switchPorts(program, group, own)) {
                    return Flow::Next;
                }
                continue;
            }
            for (const DeviceAddress &address : program.expandDevice(group.device)) {
                setChannelsFeedback(program, address.number, group.channels, own);
            }
        }
        return Flow::Next;
    }

private:
    static bool switchPorts(AST &program, const ChannelGroup &group, const std::vector<qint64> &values)
    {
        for (size_t index = 0; index < group.channels.size(); ++index) {
            const auto channel = static_cast<int>(group.channels[index]);
            if (switchInGroup(program, group.device, channel, values[index] == 0)) {
                return false;
            }
            const auto action = static_cast<PortAction>(static_cast<int>(values[index]));
            program.devices()->switchChannel(group.device, action, channel);
        }
        return true;
    }

    ChannelCode m_channels;
    std::unique_ptr<Code> m_value;
};

PortAction portActionOf(int code)
{
    switch (code) {
    case OnOffStatement::On:
        return PortAction::On;
    case OnOffStatement::To:
        return PortAction::To;
    case OnOffStatement::Pulse:
        return PortAction::Pulse;
    default:
        return PortAction::Off;
    }
}
} // namespace

void setChannelFeedback(AST &program, int deviceNumber, int channel, int status)
{
    bool inGroup = false;
    for (const auto &group : program.exclusives()) {
        if (!group->contains(program, deviceNumber, 0, channel)) {
            continue;
        }
        inGroup = true;
        if (const auto *range = as<RangeExclusive>(group.get())) {
            program.devices()->setButtonStatusRange(deviceNumber, channel, status, range->first, range->last);
        } else {
            const std::vector<int> channels = group->channels();
            program.devices()->setButtonStatusList(deviceNumber, channel, status,
                                                   QVector<int>(channels.begin(), channels.end()));
        }
    }
    if (!inGroup) {
        program.devices()->setButtonStatusRange(deviceNumber, channel, status, 0, 0);
    }
}

std::unique_ptr<Step> makeChannelAssignment(const ButtonExpression &target, std::unique_ptr<Code> value,
                                            Preparer &preparer)
{
    return std::make_unique<ChannelAssignmentStep>(ChannelCode(target, preparer), std::move(value));
}

std::unique_ptr<Step> OnOffStatement::prepare(Preparer &preparer) const
{
    if (!channels) {
        return makeNothingStep();
    }
    return std::make_unique<OnOffStep>(portActionOf(action), ChannelCode(*channels, preparer));
}
