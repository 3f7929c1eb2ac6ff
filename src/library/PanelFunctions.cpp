#include "library/PanelFunctions.h"

#include "base/Numbers.h"
#include "base/SystemNumber.h"
#include "interp/ProgramState.h"

namespace {
using Question = PanelQuestion::Kind;
using Setting = PanelSetting::Kind;

DeviceActions *actions(const ArgumentList &arguments)
{
    return arguments.run().state().devices(); // nullptr while a program is only looked at
}
} // namespace

bool PanelFunction::hasAtLeast(const ArgumentList &arguments, int count) const
{
    if (arguments.isPresent() && arguments.count() < count) {
        report(QT_TRANSLATE_NOOP("messages", "Argument count of %1 function is too less"));
    }
    return arguments.count() >= count;
}

std::optional<DeviceAddress> PanelFunction::device(const ArgumentList &arguments) const
{
    const Argument argument = arguments.value(0);
    if (!argument.device()) {
        report(QT_TRANSLATE_NOOP("messages", "Device argument of %1 function is not valid"));
        return std::nullopt;
    }
    return argument.device()->address();
}

std::optional<QVector<qint64>> PanelFunction::channels(const ArgumentList &arguments) const
{
    std::optional<QVector<qint64>> codes = channelsArgument(arguments, 1);
    if (!codes) {
        report(QT_TRANSLATE_NOOP("messages", "Channel code argument of %1 function is not valid"));
    }
    return codes;
}

std::optional<QByteArray> PanelFunction::page(const ArgumentList &arguments) const
{
    QByteArray name = bytesArgument(arguments, 1);
    if (name.isEmpty()) {
        report(QT_TRANSLATE_NOOP("messages", "Page name argument of %1 function is not valid"));
        return std::nullopt;
    }
    return name;
}

std::optional<int> PanelFunction::state(const ArgumentList &arguments, int index) const
{
    const int number = arguments.integer(index);
    if (number < 1) {
        report(QT_TRANSLATE_NOOP("messages", "State index argument of %1 function is not valid"));
        return std::nullopt;
    }
    return number;
}

std::optional<PanelFunction::Property> PanelFunction::property(const ArgumentList &arguments, int index,
                                                               PropertyKind kind) const
{
    const QByteArray name = bytesArgument(arguments, index).toLower();
    const std::optional<PropertyType> type = panelPropertyType(kind, name);
    if (!type) {
        report(QT_TRANSLATE_NOOP("messages", "Property name argument of %1 function is not valid"));
        return std::nullopt;
    }
    return Property{ name, *type };
}

QVariant PanelFunction::value(const ArgumentList &arguments, int index, PropertyType type)
{
    return type == PropertyType::Text ? QVariant(bytesArgument(arguments, index))
                                      : QVariant(static_cast<qlonglong>(arguments.integer64(index)));
}

void PanelFunction::setAnswer(const QVariant &answer, PropertyType type)
{
    if (type == PropertyType::Text) {
        setTextResult(viewOf(answer.toByteArray()));
    } else {
        setResult(static_cast<double>(answer.toLongLong()), SLongType);
    }
}

void ButtonTextFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() < 3) {
        return;
    }
    const Argument device = arguments.value(0);
    const int number = device.device() ? device.device()->address().number : 0;
    const int channel = arguments.integer(1);
    const int state = arguments.integer(2);
    DeviceActions *devices = actions(arguments);
    if (!device.device() || state < 1 || !devices) {
        return;
    }
    setAnswer(devices->askPanel(number, { Question::Text, channel, state }), PropertyType::Text);
}

void ButtonPropertyFunc::call(const ArgumentList &arguments)
{
    if (!hasAtLeast(arguments, 3)) {
        return;
    }
    const auto asked = device(arguments);
    const int channel = arguments.integer(1);
    const auto name = asked ? property(arguments, 2, PropertyKind::Button) : std::nullopt;
    if (DeviceActions *devices = actions(arguments); name && devices) {
        setAnswer(devices->askPanel(asked->number, { Question::ButtonProperty, channel, 0, name->name }), name->type);
    }
}

void ButtonStatePropertyFunc::call(const ArgumentList &arguments)
{
    if (!hasAtLeast(arguments, 4)) {
        return;
    }
    const auto asked = device(arguments);
    const int channel = arguments.integer(1);
    const auto index = asked ? state(arguments, 2) : std::nullopt;
    const auto name = index ? property(arguments, 3, PropertyKind::State) : std::nullopt;
    if (DeviceActions *devices = actions(arguments); name && devices) {
        setAnswer(devices->askPanel(asked->number, { Question::StateProperty, channel, *index, name->name }),
                  name->type);
    }
}

void PagePropertyFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() < 3) {
        return;
    }
    const auto asked = device(arguments);
    const auto pageName = asked ? page(arguments) : std::nullopt;
    const auto name = pageName ? property(arguments, 2, PropertyKind::Page) : std::nullopt;
    if (DeviceActions *devices = actions(arguments); name && devices) {
        setAnswer(devices->askPanel(asked->number, { Question::PageProperty, 0, 0, name->name, *pageName }),
                  name->type);
    }
}

void SetButtonPropertyFunc::call(const ArgumentList &arguments)
{
    if (!hasAtLeast(arguments, 4)) {
        return;
    }
    const auto target = device(arguments);
    const auto codes = target ? channels(arguments) : std::nullopt;
    const auto name = codes ? property(arguments, 2, PropertyKind::SettableButton) : std::nullopt;
    if (DeviceActions *devices = actions(arguments); name && devices) {
        devices->setOnPanel(target->number,
                            { Setting::ButtonProperty, *codes, name->name, value(arguments, 3, name->type) });
    }
}

void SetButtonStatePropertyFunc::call(const ArgumentList &arguments)
{
    if (!hasAtLeast(arguments, 5)) {
        return;
    }
    const auto target = device(arguments);
    const auto codes = target ? channels(arguments) : std::nullopt;
    const auto index = codes ? state(arguments, 2) : std::nullopt;
    const auto name = index ? property(arguments, 3, PropertyKind::State) : std::nullopt;
    if (DeviceActions *devices = actions(arguments); name && devices) {
        devices->setOnPanel(target->number,
                            { Setting::StateProperty, *codes, name->name, value(arguments, 4, name->type), *index });
    }
}

void SetPagePropertyFunc::call(const ArgumentList &arguments)
{
    if (!hasAtLeast(arguments, 4)) {
        return;
    }
    const auto target = device(arguments);
    const auto pageName = target ? page(arguments) : std::nullopt;
    const auto name = pageName ? property(arguments, 2, PropertyKind::SettablePage) : std::nullopt;
    if (DeviceActions *devices = actions(arguments); name && devices) {
        devices->setOnPanel(target->number,
                            { Setting::PageProperty, {}, name->name, value(arguments, 3, name->type), 0, *pageName });
    }
}

void SetContainerPropertyFunc::call(const ArgumentList &arguments)
{
    if (!hasAtLeast(arguments, 4)) {
        return;
    }
    const auto target = device(arguments);
    const auto codes = target ? channels(arguments) : std::nullopt;
    if (DeviceActions *devices = actions(arguments); codes && devices) {
        const QByteArray name = bytesArgument(arguments, 2);
        devices->setOnPanel(target->number, { Setting::ContainerProperty, *codes, name, bytesArgument(arguments, 3) });
    }
}

void ContainerCallFunc::call(const ArgumentList &arguments)
{
    if (!hasAtLeast(arguments, 3)) {
        return;
    }
    const auto target = device(arguments);
    const auto codes = target ? channels(arguments) : std::nullopt;
    if (DeviceActions *devices = actions(arguments); codes && devices) {
        const QByteArray method = bytesArgument(arguments, 2);
        devices->setOnPanel(target->number, { Setting::ContainerCall, *codes, method, bytesArgument(arguments, 3) });
    }
}

void PanelCommandFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() < 2) {
        return;
    }
    const QByteArray text = bytesArgument(arguments, 1);
    const Argument argument = arguments.value(0);
    DeviceActions *devices = actions(arguments);
    if (argument.device() && !text.isEmpty() && devices) {
        devices->sendDeviceCommand(argument.device()->address(), m_prefix + text, DeviceActions::Log::No);
    }
}

void RebootFunc::call(const ArgumentList &arguments)
{
    if (!hasCount(arguments, 1)) {
        return;
    }
    const Argument argument = arguments.value(0);
    double number = 0;
    if (const Device *device = argument.device()) {
        number = device->address().number;
    } else if (!numberOf(argument.view, number) || !isWholeNumber(number)) {
        report(kWrongArgument);
        return;
    }
    DeviceActions *devices = actions(arguments);
    if (integerPart(number) == 0 && devices) {
        devices->rebootController();
    }
}

void GetSystemNumberFunc::call(const ArgumentList &)
{
    setResult(localSystemNumber());
}

void SetVirtualCountFunc::call(const ArgumentList &arguments)
{
    (void)arguments.tryNumber(1); // reports what is wrong within them
    (void)arguments.value(0);
}
