#include "interp/Channels.h"
#include "interp/Interpreter.h"
#include "interp/LevelAssocManager.h"
#include "interp/Preparer.h"
#include "interp/Run.h"
#include "interp/code/VariableCode.h"
#include "interp/nodes/DeviceStatements.h"
#include "interp/steps/BlockSteps.h"
#include "model/Values.h"
#include "program/AST.h"

#include <QCoreApplication>

// Strings, commands, levels and buffers of devices.

namespace {
const char *const kWrongLevelCode = QT_TRANSLATE_NOOP("messages", "Wrong level code expression");
const char *const kWrongLevelValue = QT_TRANSLATE_NOOP("messages", "Wrong level value expression");

/// What all these statements begin with: the addresses that their device stands for.
class DeviceStep : public Step
{
protected:
    explicit DeviceStep(std::unique_ptr<Code> device)
        : m_device(std::move(device))
    {}

    std::vector<DeviceAddress> addresses(Run &run) const
    {
        ValueRef hold;
        return expanded(run, devicesOf(m_device->view(run, hold)));
    }
    static std::vector<DeviceAddress> expanded(Run &run, const std::vector<DeviceAddress> &devices)
    {
        std::vector<DeviceAddress> result;
        for (const DeviceAddress &device : devices) {
            const std::vector<DeviceAddress> own = run.state().expandDevice(device);
            result.insert(result.end(), own.begin(), own.end());
        }
        return result;
    }
    const Code &device() const { return *m_device; }

private:
    std::unique_ptr<Code> m_device;
};

/// Bytes to a device: send_string and send_command.
class SendStep : public DeviceStep
{
public:
    SendStep(std::unique_ptr<Code> device, std::unique_ptr<Code> payload, bool isCommand)
        : DeviceStep(std::move(device))
        , m_payload(std::move(payload))
        , m_isCommand(isCommand)
    {}

    Flow execute(Run &run) const override
    {
        for (const DeviceAddress &address : addresses(run)) {
            QByteArray bytes; // anew for each device
            if (m_payload) {
                m_payload->appendTo(bytes, run);
            }
            DeviceActions *devices = run.state().devices();
            if (devices && m_isCommand) {
                devices->sendDeviceCommand(address, bytes, DeviceActions::Log::Yes);
            } else if (devices) {
                devices->sendPortString(address, bytes);
            }
            if (m_isCommand && run.interpreter().events()) {
                run.interpreter().events()->raiseCommand(address, bytes);
            }
        }
        return Flow::Next;
    }

private:
    std::unique_ptr<Code> m_payload;
    bool m_isCommand;
};

/// send_level with a device-level value and one number.
class SendOneLevelStep : public DeviceStep
{
public:
    SendOneLevelStep(std::unique_ptr<Code> device, std::unique_ptr<Code> value)
        : DeviceStep(std::move(device))
        , m_value(std::move(value))
    {}

    Flow execute(Run &run) const override
    {
        ValueRef hold;
        const std::optional<ChannelAddress> level = devLevOf(device().view(run, hold).object);
        if (!level) {
            return Flow::Next;
        }
        const Number value = m_value->number(run);
        if (!value.ok) {
            run.error(kWrongLevelValue);
            return Flow::Next;
        }
        for (const DeviceAddress &address : run.state().expandDevice(level->device)) {
            if (DeviceActions *devices = run.state().devices()) {
                devices->setLevel(address, level->channel, integerPart32(value.value));
            }
        }
        return Flow::Next;
    }

private:
    std::unique_ptr<Code> m_value;
};

/// send_level with level codes and values.
class SendLevelsStep : public DeviceStep
{
public:
    SendLevelsStep(std::unique_ptr<Code> device, std::unique_ptr<Code> codes, std::unique_ptr<Code> values)
        : DeviceStep(std::move(device))
        , m_codes(std::move(codes))
        , m_values(std::move(values))
    {}

    Flow execute(Run &run) const override
    {
        for (const DeviceAddress &address : addresses(run)) {
            const std::vector<qint64> codes = wholeNumbersOf(*m_codes, run);
            const std::vector<qint64> values = wholeNumbersOf(*m_values, run);
            if (codes.empty() || values.empty()) {
                run.error(codes.empty() ? kWrongLevelCode : kWrongLevelValue);
            } else if (DeviceActions *devices = run.state().devices()) {
                devices->setLevels(address, QVector<qint64>(codes.begin(), codes.end()),
                                   QVector<qint64>(values.begin(), values.end()));
            }
        }
        return Flow::Next;
    }

private:
    std::unique_ptr<Code> m_codes;
    std::unique_ptr<Code> m_values;
};

class CreateLevelStep : public DeviceStep
{
public:
    CreateLevelStep(std::unique_ptr<Code> device, std::unique_ptr<Code> levelCode, const QString &variable)
        : DeviceStep(std::move(device))
        , m_levelCode(std::move(levelCode))
        , m_variable(variable)
    {}

    Flow execute(Run &run) const override
    {
        for (const DeviceAddress &address : addresses(run)) {
            const Number code = m_levelCode ? m_levelCode->number(run) : Number{};
            if (!code.ok) {
                run.error(kWrongLevelCode);
                return Flow::Next;
            }
            const BasicType *variable = run.program().findGlobal(Name(m_variable));
            if (!variable) {
                run.error(QT_TRANSLATE_NOOP("messages", "Failed to find variable %1"), m_variable);
                return Flow::Next;
            }
            run.state().levels().addAssociation({ address, integerPart32(code.value), variable->name().text() });
        }
        return Flow::Next;
    }

private:
    std::unique_ptr<Code> m_levelCode;
    QString m_variable;
};

class CreateBufferStep : public DeviceStep
{
public:
    CreateBufferStep(std::unique_ptr<Code> device, Name buffer)
        : DeviceStep(std::move(device))
        , m_buffer(buffer)
    {}

    Flow execute(Run &run) const override
    {
        for (const DeviceAddress &address : addresses(run)) {
            run.state().buffers()[address] = m_buffer;
        }
        return Flow::Next;
    }

private:
    Name m_buffer;
};

class ClearBufferStep : public Step
{
public:
    explicit ClearBufferStep(std::unique_ptr<Code> buffer)
        : m_buffer(std::move(buffer))
    {}

    Flow execute(Run &run) const override
    {
        if (Array *array = asArray(m_buffer->place(run).object)) {
            array->setLength(0);
            storeChanged(run, *m_buffer);
        }
        return Flow::Next;
    }

private:
    std::unique_ptr<Code> m_buffer;
};

std::unique_ptr<Code> deviceCode(const CommandStatement &statement, Preparer &preparer)
{
    return statement.device ? statement.device->prepare(preparer, Context::Plain) : nullptr;
}
} // namespace

std::unique_ptr<Step> SendStringStatement::prepare(Preparer &preparer) const
{
    std::unique_ptr<Code> target = deviceCode(*this, preparer);
    return target ? std::make_unique<SendStep>(std::move(target), preparer.expression(payload), false)
                  : makeNothingStep();
}

std::unique_ptr<Step> SendCommandStatement::prepare(Preparer &preparer) const
{
    std::unique_ptr<Code> target = deviceCode(*this, preparer);
    return target ? std::make_unique<SendStep>(std::move(target), preparer.expression(payload), true)
                  : makeNothingStep();
}

std::unique_ptr<Step> SendLevelStatement::prepare(Preparer &preparer) const
{
    std::unique_ptr<Code> target = deviceCode(*this, preparer);
    if (target && values.size() == 1) {
        return std::make_unique<SendOneLevelStep>(std::move(target), preparer.expression(values[0]));
    }
    if (target && values.size() == 2) {
        std::unique_ptr<Code> codes = preparer.expression(values[0]);
        return std::make_unique<SendLevelsStep>(std::move(target), std::move(codes), preparer.expression(values[1]));
    }
    return makeNothingStep();
}

std::unique_ptr<Step> CreateLevelStatement::prepare(Preparer &preparer) const
{
    std::unique_ptr<Code> target = deviceCode(*this, preparer);
    return target ? std::make_unique<CreateLevelStep>(std::move(target), preparer.expression(levelCode), variable)
                  : makeNothingStep();
}

std::unique_ptr<Step> CreateBufferStatement::prepare(Preparer &preparer) const
{
    std::unique_ptr<Code> target = deviceCode(*this, preparer);
    const Name name(buffer);
    return target && !name.isEmpty() ? std::make_unique<CreateBufferStep>(std::move(target), name) : makeNothingStep();
}

std::unique_ptr<Step> ClearBufferStatement::prepare(Preparer &preparer) const
{
    return std::make_unique<ClearBufferStep>(VarExpression(buffer).prepare(preparer, Context::Plain));
}
