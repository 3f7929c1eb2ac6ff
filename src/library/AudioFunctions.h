#pragma once
#include "library/LibraryFunction.h"

// Command frames for networked audio processors. Too few arguments, or an address that is not 12 hexadecimal digits,
// give no result and no message.

/// bss_gain_value(decibels): the level in the processors' scale, as an INTEGER.
class BssGainFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// bss_make_cmd(message type, address, parameter, value): a frame that is not escaped.
class MakeBssCmdFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// bss_escape_cmd(frame), bss_unescape_cmd(frame)
class BssConvertFunc : public QuietFunction
{
public:
    using Conversion = QByteArray (*)(std::string_view frame);
    BssConvertFunc(const QString &name, Conversion convert)
        : QuietFunction(name)
        , m_convert(convert)
    {}
    void call(const ArgumentList &arguments) override;

private:
    Conversion m_convert;
};

/// What follows the address of an audio command.
struct BssParameter
{
    int number = 0;
    int value = 0;
};

/// A command for the object at an address: the escaped frame. The built-ins differ in what they make of the arguments
/// behind the address.
class BssCommandFunc : public QuietFunction
{
public:
    using Reader = BssParameter (*)(const ArgumentList &arguments);
    BssCommandFunc(const QString &name, int argumentCount, Reader read, quint8 messageType = 0x88)
        : QuietFunction(name)
        , m_argumentCount(argumentCount)
        , m_read(read)
        , m_messageType(messageType)
    {}
    void call(const ArgumentList &arguments) override;

private:
    int m_argumentCount;
    Reader m_read;
    quint8 m_messageType;
};

class BssGainMonoVolFunc : public BssCommandFunc // address, decibels
{
public:
    explicit BssGainMonoVolFunc(const QString &name);
};

class BssGainMonoMuteFunc : public BssCommandFunc // address, mute
{
public:
    explicit BssGainMonoMuteFunc(const QString &name);
};

class BssGainNInputVolFunc : public BssCommandFunc // address, input (0: the master), decibels
{
public:
    explicit BssGainNInputVolFunc(const QString &name);
};

class BssGainNInputMuteFunc : public BssCommandFunc // address, input (0: the master), mute
{
public:
    explicit BssGainNInputMuteFunc(const QString &name);
};

class BssSourceMatrixFunc : public BssCommandFunc // address, output, input
{
public:
    explicit BssSourceMatrixFunc(const QString &name);
};

class BssSourceSelectorFunc : public BssCommandFunc // address, source
{
public:
    explicit BssSourceSelectorFunc(const QString &name);
};

class BssMatrixRouterFunc : public BssCommandFunc // address, input, output, on
{
public:
    explicit BssMatrixRouterFunc(const QString &name);
};

using BssMatrixMixerJointFunc = BssMatrixRouterFunc;

class BssMeterTriggerReadMeterFunc : public BssCommandFunc // address
{
public:
    explicit BssMeterTriggerReadMeterFunc(const QString &name);
};

/// bss_para_preset(number), bss_venue_preset(number): the escaped frame.
class BssPresetFunc : public QuietFunction
{
public:
    BssPresetFunc(const QString &name, quint8 messageType)
        : QuietFunction(name)
        , m_messageType(messageType)
    {}
    void call(const ArgumentList &arguments) override;

private:
    quint8 m_messageType;
};
