#include "interp/steps/ChannelSteps.h"

#include "base/Clock.h"
#include "interp/Channels.h"
#include "interp/Interpreter.h"
#include "interp/Preparer.h"
#include "interp/Run.h"
#include "interp/nodes/DeviceStatements.h"
#include "interp/steps/BlockSteps.h"

#include <QPointer>

#include <algorithm>

// Switching channels: ON, OFF, TO, PULSE and assignment.

namespace {
/// Applies the first exclusive group that governs a channel of the controller's own ports. False: there is none.
bool switchInGroup(ProgramState &state, const DeviceAddress &device, int channel, bool isOff)
{
    for (const auto &group : state.program().exclusives()) {
        if (!group->contains(state.program(), state.combinations(), device.number, device.port, channel)) {
            continue;
        }
        DeviceActions &devices = *state.devices();
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
void setChannelsFeedback(ProgramState &state, int deviceNumber, const std::vector<qint64> &channels,
                         const std::vector<qint64> &statuses)
{
    bool anyInGroup = false;
    QVector<qint64> plainChannels;
    QVector<qint64> plainStatuses;
    for (size_t index = 0; index < channels.size(); ++index) {
        const auto channel = static_cast<int>(channels[index]);
        const bool inGroup = std::any_of(
            state.program().exclusives().begin(), state.program().exclusives().end(), [&](const auto &group) {
                return group->contains(state.program(), state.combinations(), deviceNumber, 0, channel);
            });
        if (inGroup) {
            anyInGroup = true;
            setChannelFeedback(state, deviceNumber, channel, static_cast<int>(statuses[index]));
        }
        plainChannels.append(channels[index]);
        plainStatuses.append(statuses[index]);
    }
    if (!anyInGroup) {
        state.devices()->setButtonStatuses(deviceNumber, plainChannels, plainStatuses);
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
        if (!run.state().devices()) {
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
        ProgramState &state = run.state();
        if (device.number == kControllerDevice) {
            if (switchInGroup(state, device, channel, m_action == PortAction::Off)) {
                return false;
            }
            state.devices()->switchChannel(device, m_action, channel);
            return true;
        }
        for (const DeviceAddress &address : state.expandDevice(device)) {
            setPanelChannel(run, address, channel);
        }
        return true;
    }

    void setPanelChannel(Run &run, const DeviceAddress &address, int channel) const
    {
        ProgramState &state = run.state();
        setChannelFeedback(state, address.number, channel, m_action == PortAction::Off ? 0 : 1);
        if (m_action == PortAction::To) {
            run.interpreter().heldPanelChannels().push_back({ address, channel });
        } else if (m_action == PortAction::Pulse) {
            const auto end = [there = QPointer<ProgramState>(&state), number = address.number, channel,
                              cause = state.trace().running()] {
                if (there && there->devices()) {
                    const TracedEvent traced(there->trace(),
                                             TraceRecord::of(TraceRecord::Kind::PulseEnd, { number, 1, 0 }, channel),
                                             cause, TracedEvent::Keep::Always);
                    setChannelFeedback(*there, number, channel, 0);
                }
            };
            Clock::instance().after(state.pulseTimeMs(), end);
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
        ProgramState &state = run.state();
        if (!state.devices()) {
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
                if (!switchPorts(state, group, own)) {
                    return Flow::Next;
                }
                continue;
            }
            for (const DeviceAddress &address : state.expandDevice(group.device)) {
                setChannelsFeedback(state, address.number, group.channels, own);
            }
        }
        return Flow::Next;
    }

private:
    static bool switchPorts(ProgramState &state, const ChannelGroup &group, const std::vector<qint64> &values)
    {
        for (size_t index = 0; index < group.channels.size(); ++index) {
            const auto channel = static_cast<int>(group.channels[index]);
            if (switchInGroup(state, group.device, channel, values[index] == 0)) {
                return false;
            }
            const auto action = static_cast<PortAction>(static_cast<int>(values[index]));
            state.devices()->switchChannel(group.device, action, channel);
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

void setChannelFeedback(ProgramState &state, int deviceNumber, int channel, int status)
{
    bool inGroup = false;
    for (const auto &group : state.program().exclusives()) {
        if (!group->contains(state.program(), state.combinations(), deviceNumber, 0, channel)) {
            continue;
        }
        inGroup = true;
        if (const auto *range = as<RangeExclusive>(group.get())) {
            state.devices()->setButtonStatusRange(deviceNumber, channel, status, range->first, range->last);
        } else {
            const std::vector<int> channels = group->channels();
            state.devices()->setButtonStatusList(deviceNumber, channel, status,
                                                 QVector<int>(channels.begin(), channels.end()));
        }
    }
    if (!inGroup) {
        state.devices()->setButtonStatusRange(deviceNumber, channel, status, 0, 0);
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
