#include "library/AudioFunctions.h"

#include "library/AudioFrames.h"

namespace {
constexpr int kMasterGain = 96;
constexpr int kMasterMute = 97;
constexpr int kMatrixRow = 128; // parameters per output

// Plain additions of numbers of the program: they wrap at 32 bits instead of overflowing.
int sum(int a, int b)
{
    return static_cast<int>(static_cast<quint32>(a) + static_cast<quint32>(b));
}

BssParameter routing(const ArgumentList &arguments)
{
    const auto input = static_cast<quint32>(arguments.integer(1));
    const auto output = static_cast<quint32>(arguments.integer(2));
    return { static_cast<int>(kMatrixRow * (output - 1) + (input - 1)), arguments.integer(3) != 0 ? 1 : 0 };
}
} // namespace

void BssGainFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() >= 1) {
        setResult(static_cast<quint32>(AudioFrames::gainOf(arguments.number(0))), IntegerType);
    }
}

void MakeBssCmdFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() < 4) {
        return;
    }
    const auto type = static_cast<quint8>(arguments.integer(0));
    const QByteArray address = bytesArgument(arguments, 1);
    const auto parameter = static_cast<quint16>(arguments.integer(2));
    const auto value = static_cast<quint32>(arguments.integer(3));
    if (const auto frame = AudioFrames::command(type, viewOf(address), parameter, value)) {
        setTextResult(viewOf(*frame));
    }
}

void BssConvertFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() < 1) {
        return;
    }
    Argument frame = arguments.value(0);
    setTextResult(viewOf(m_convert(frame.bytes())));
}

BssGainMonoVolFunc::BssGainMonoVolFunc(const QString &name)
    : BssCommandFunc(name, 2, [](const ArgumentList &arguments) {
        return BssParameter{ 0, AudioFrames::gainOf(arguments.number(1)) };
    })
{}

BssGainMonoMuteFunc::BssGainMonoMuteFunc(const QString &name)
    : BssCommandFunc(name, 2, [](const ArgumentList &arguments) {
        return BssParameter{ 1, arguments.integer(1) };
    })
{}

BssGainNInputVolFunc::BssGainNInputVolFunc(const QString &name)
    : BssCommandFunc(name, 3, [](const ArgumentList &arguments) {
        const int input = arguments.integer(1);
        return BssParameter{ input == 0 ? kMasterGain : sum(input, -1), AudioFrames::gainOf(arguments.number(2)) };
    })
{}

BssGainNInputMuteFunc::BssGainNInputMuteFunc(const QString &name)
    : BssCommandFunc(name, 3, [](const ArgumentList &arguments) {
        const int input = arguments.integer(1);
        return BssParameter{ input == 0 ? kMasterMute : sum(input, 31), arguments.integer(2) };
    })
{}

BssSourceMatrixFunc::BssSourceMatrixFunc(const QString &name)
    : BssCommandFunc(name, 3, [](const ArgumentList &arguments) {
        return BssParameter{ sum(arguments.integer(1), -1), arguments.integer(2) };
    })
{}

BssSourceSelectorFunc::BssSourceSelectorFunc(const QString &name)
    : BssCommandFunc(name, 2, [](const ArgumentList &arguments) {
        return BssParameter{ 0, arguments.integer(1) };
    })
{}

BssMatrixRouterFunc::BssMatrixRouterFunc(const QString &name)
    : BssCommandFunc(name, 4, routing)
{}

BssMeterTriggerReadMeterFunc::BssMeterTriggerReadMeterFunc(const QString &name)
    : BssCommandFunc(
          name, 1, [](const ArgumentList &) { return BssParameter{}; }, AudioFrames::Subscribe)
{}

void BssCommandFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() < m_argumentCount) {
        return;
    }
    const QByteArray address = bytesArgument(arguments, 0);
    const BssParameter parameter = m_read(arguments);
    const auto frame = AudioFrames::command(m_messageType, viewOf(address), static_cast<quint16>(parameter.number),
                                            static_cast<quint32>(parameter.value));
    if (frame) {
        setTextResult(viewOf(AudioFrames::escaped(viewOf(*frame))));
    }
}

void BssPresetFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() < 1) {
        return;
    }
    const QByteArray frame = AudioFrames::preset(m_messageType, static_cast<quint32>(arguments.integer(0)));
    setTextResult(viewOf(AudioFrames::escaped(viewOf(frame))));
}
