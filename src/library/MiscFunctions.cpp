#include "library/MiscFunctions.h"

#include "base/Numbers.h"
#include "interp/Interpreter.h"
#include "interp/ProgramState.h"

#include <QCryptographicHash>

#include <algorithm>

namespace {
quint16 modbusCrc(std::string_view bytes)
{
    quint16 crc = 0xFFFF;
    for (const char byte : bytes) {
        crc = static_cast<quint16>(crc ^ static_cast<quint8>(byte));
        for (int bit = 0; bit < 8; ++bit) {
            crc = static_cast<quint16>((crc & 1) != 0 ? (crc >> 1) ^ 0xA001 : crc >> 1);
        }
    }
    return crc;
}

bool isVirtual(const DeviceAddress &device)
{
    return DeviceCombineManager::isVirtual(device.number);
}

bool hasVirtual(const std::vector<DeviceAddress> &devices)
{
    return std::any_of(devices.begin(), devices.end(), isVirtual);
}

/// The channels of one argument of do_push: a device-channel, or an array of them.
std::vector<ChannelAddress> pushesOf(const Argument &argument)
{
    if (const auto single = devChanOf(argument.view.object)) {
        return { *single };
    }
    std::vector<ChannelAddress> pushes;
    const Array *array = argument.array();
    for (int index = 1; array && index <= array->length(); ++index) {
        if (const auto element = devChanOf(array->object(index))) {
            pushes.push_back(*element);
        }
    }
    return pushes;
}

bool isInput(const ValueView &element, const ChannelAddress &input)
{
    if (element.isNumber()) {
        return integerPart32(element.number) == input.channel;
    }
    if (const Device *device = asDevice(element.object)) {
        return device->address() == input.device;
    }
    const auto channel = devChanOf(element.object);
    const auto code = channel ? channel : devLevOf(element.object);
    return code && code->device == input.device && code->channel == input.channel;
}
} // namespace

void ModbusCRC16Func::call(const ArgumentList &arguments)
{
    setResult(modbusCrc(arguments.value(0).bytes()));
}

void Md5Func::call(const ArgumentList &arguments)
{
    constexpr int kRawBytes = 16;
    Argument data = arguments.value(0);
    const std::string_view bytes = data.bytes();
    QCryptographicHash hash(QCryptographicHash::Md5);
    hash.addData(bytes.data(), static_cast<int>(bytes.size()));
    const QByteArray digest = hash.result();
    setTextResult(viewOf(arguments.integer(1) == kRawBytes ? digest : digest.toHex().toUpper()));
}

void ArrayToBase64Func::call(const ArgumentList &arguments)
{
    setTextResult(viewOf(bytesArgument(arguments, 0).toBase64()));
}

void Base64ToArrayFunc::call(const ArgumentList &arguments)
{
    setTextResult(viewOf(QByteArray::fromBase64(bytesArgument(arguments, 0))));
}

void SaveParamFunc::call(const ArgumentList &arguments)
{
    const QString key = textArgument(arguments, 0);
    const ValueRef value = arguments.value(1).view.toValue();
    if (arguments.count() >= 2 && !key.isEmpty() && value) {
        arguments.run().state().storage().saveParameter(key, *value);
    }
}

void LoadParamFunc::call(const ArgumentList &arguments)
{
    const QString key = textArgument(arguments, 0);
    const Place target = arguments.place(1);
    if (!target || key.isEmpty()) {
        return;
    }
    StorageManager &storage = arguments.run().state().storage();
    if (target.object) {
        storage.loadParameter(key, *target.object);
    } else { // a number in an array or a frame
        const ValueView before = ValueView::of(target);
        Double number(before.number, before.typeCode);
        storage.loadParameter(key, number);
        assignValue(target, ValueView::of(&number));
    }
    arguments.storeChanged(1);
}

void DeleteAllParamFunc::call(const ArgumentList &arguments)
{
    arguments.run().state().storage().deleteAllParameters();
}

void LogLineFunc::call(const ArgumentList &arguments)
{
    const int kind = arguments.integer(0);
    if (kind < AST::kLogError || kind > AST::kLogDebug) {
        report(kWrongArgument);
        return;
    }
    QString text = QString::fromUtf8(bytesArgument(arguments, 1)).trimmed();
    for (QChar &sign : text) { // one call is one line
        sign = sign.unicode() < 0x20 ? QLatin1Char(' ') : sign;
    }
    Q_EMIT arguments.run().program().logged(kind, text);
}

void CombineDeviceFunc::call(const ArgumentList &arguments)
{
    std::vector<DeviceAddress> group; // virtual devices go to the front, the others to the end
    for (int index = 0; index < arguments.count(); ++index) {
        for (const DeviceAddress &device : devicesArgument(arguments, index)) {
            group.insert(isVirtual(device) ? group.begin() : group.end(), device);
        }
    }
    if (group.empty()) {
        return;
    }
    if (!hasVirtual(group)) {
        report(QT_TRANSLATE_NOOP("messages", "Combined device must contain virtual device"));
        return;
    }
    arguments.run().state().combinations().addGroup(std::move(group));
}

void UncombineDeviceFunc::call(const ArgumentList &arguments)
{
    std::vector<DeviceAddress> devices;
    for (int index = 0; index < arguments.count(); ++index) {
        const Argument argument = arguments.value(index);
        if (const Device *device = argument.device()) {
            devices.push_back(device->address());
        }
    }
    if (devices.empty()) {
        return;
    }
    if (!hasVirtual(devices)) {
        report(QT_TRANSLATE_NOOP("messages", "Uncombined device must contain virtual device"));
        return;
    }
    DeviceCombineManager &combinations = arguments.run().state().combinations();
    auto groups = combinations.groups();
    for (const DeviceAddress &device : devices) {
        for (auto &group : groups) {
            const auto member = std::find(group.begin(), group.end(), device);
            if (!isVirtual(device) && member != group.end()) {
                group.erase(member);
            }
        }
    }
    std::erase_if(groups, [](const auto &group) { return group.size() == 1; });
    combinations.setGroups(std::move(groups));
}

void DoPushFunc::call(const ArgumentList &arguments)
{
    constexpr int kPort = 1;
    for (int index = 0; index < arguments.count(); ++index) {
        for (const ChannelAddress &push : pushesOf(arguments.value(index))) {
            if (EventRaiser *events = arguments.run().interpreter().events()) {
                events->simulatePush(push.device.number, kPort, push.channel);
            }
        }
    }
}

void GetLastFunc::call(const ArgumentList &arguments)
{
    const EventRaiser *events = arguments.run().interpreter().events();
    const std::optional<ChannelAddress> input = events ? events->handledInput() : std::nullopt;
    const Argument argument = arguments.count() == 1 ? arguments.value(0) : Argument{};
    const Array *array = argument.array();
    int found = 0;
    for (int index = 1; input && array && found == 0 && index <= array->length(); ++index) {
        found = array->hasElement(index) && isInput(array->view(index), *input) ? index : 0;
    }
    setResult(found, IntegerType);
}

void DeviceIdFunc::call(const ArgumentList &arguments)
{
    const Argument argument = arguments.value(0);
    if (const Device *device = argument.device()) {
        setResult(device->address().number, IntegerType);
    }
}

void SetPulseTimeFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() == 0) {
        return;
    }
    constexpr qint64 kMostTenths = std::numeric_limits<int>::max() / 100;
    const auto tenths = std::clamp<qint64>(arguments.integer64(0), 0, kMostTenths);
    arguments.run().state().setPulseTimeMs(static_cast<int>(tenths) * 100);
}

void GetMasterBuildFunc::call(const ArgumentList &)
{
    setResult(1, IntegerType);
}
