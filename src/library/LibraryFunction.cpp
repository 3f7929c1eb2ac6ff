#include "library/LibraryFunction.h"

#include "base/Messages.h"
#include "base/Numbers.h"
#include "interp/ProgramState.h"
#include "program/AST.h"

#include <algorithm>

bool LibraryFunction::hasCount(const ArgumentList &arguments, int least, int most, const CountTexts &texts) const
{
    const int count = arguments.count();
    if (!arguments.isPresent() || (count >= least && count <= most)) {
        return arguments.isPresent();
    }
    report(count < least ? texts.tooFew : texts.tooMany);
    return false;
}

void LibraryFunction::report(const char *sourceText) const
{
    if (program()) {
        // Not arg(): some texts have no place for the name.
        program()->reportError(translated(sourceText).replace(QLatin1String("%1"), name()));
    }
}

void LibraryFunction::setStatus(const ArgumentList &arguments, double status)
{
    if (status < 0) {
        noteFailed(arguments, status);
    }
    setResult(status, SLongType);
}

void LibraryFunction::noteFailed(const ArgumentList &arguments, double status) const
{
    arguments.run().state().trace().add(
        TraceRecord::of(TraceRecord::Kind::Failed, {}, 0, status).with(name().toLower().toUtf8()));
}

int truncated(double number)
{
    if (std::isnan(number)) {
        return 0;
    }
    constexpr double kLeast = std::numeric_limits<int>::min();
    constexpr double kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(number, kLeast, kMost));
}

std::optional<double> numberOrZero(const ArgumentList &arguments, int index)
{
    const Number number = arguments.tryNumber(index);
    return number.ok || !arguments.has(index) ? std::optional(number.value) : std::nullopt;
}

QByteArray bytesArgument(const ArgumentList &arguments, int index)
{
    Argument argument = arguments.value(index);
    const std::string_view bytes = argument.bytes();
    return QByteArray(bytes.data(), static_cast<int>(bytes.size()));
}

QString textArgument(const ArgumentList &arguments, int index)
{
    return QString::fromUtf8(bytesArgument(arguments, index));
}

std::optional<QVector<qint64>> channelsArgument(const ArgumentList &arguments, int index)
{
    constexpr int kMostChannels = 4096; // more than a message to a panel could hold
    const Argument argument = arguments.value(index);
    if (argument.view.isNumber()) {
        return QVector<qint64>{ integerPart(argument.view.number) };
    }
    const Array *array = argument.array();
    if (!array || array->length() == 0 || array->length() > kMostChannels) {
        return std::nullopt;
    }
    QVector<qint64> channels;
    for (int i = 1; i <= array->length(); ++i) {
        const ValueView element = array->view(i);
        if (!element.isNumber()) {
            return std::nullopt;
        }
        channels.append(integerPart(element.number));
    }
    return channels;
}

std::vector<DeviceAddress> devicesArgument(const ArgumentList &arguments, int index)
{
    const Argument argument = arguments.value(index);
    if (const Device *device = argument.device()) {
        return { device->address() };
    }
    std::vector<DeviceAddress> devices;
    const Array *array = argument.array();
    for (int i = 1; array && i <= array->length(); ++i) {
        if (const Device *device = asDevice(array->object(i))) {
            devices.push_back(device->address());
        }
    }
    return devices;
}

ArrayArgument::ArrayArgument(const ArgumentList &arguments, int index)
    : value(arguments.borrow(index))
    , array(value.array())
    , variable(value.isStored() ? const_cast<Array *>(array) : nullptr)
{}
