#pragma once
#include "library/LibraryFunction.h"

/// modbus_crc16(bytes): the checksum of Modbus RTU, to be sent low byte first.
class ModbusCRC16Func : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// MD5_VALUE(data [, form]): 32 upper-case hexadecimal digits, or with form 16 the 16 bytes.
class Md5Func : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// array_to_base64(bytes), base64_to_array(text): decoding passes over characters outside the alphabet.
class ArrayToBase64Func : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

class Base64ToArrayFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// save_var(key, value), load_var(key, variable), delete_all_vars(): values that outlive the program.
class SaveParamFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

class LoadParamFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// log_line(kind, text): to the monitor and the log, with its place.
class LogLineFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;

protected:
    void call(const ArgumentList &arguments) override;
};

class DeleteAllParamFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// combine_devices(devices …), uncombine_devices(devices …): devices that act as one, led by a virtual one.
class CombineDeviceFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

class UncombineDeviceFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// do_push(channels …): the push handlers run before the statement ends; no release follows.
class DoPushFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// get_last(array): the first element that is the channel, level or device of the event being handled; 0: none.
class GetLastFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// device_id(device): its number.
class DeviceIdFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};

/// SET_PULSE_TIME(tenths of a second)
class SetPulseTimeFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// get_master_build(): 1
class GetMasterBuildFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};
