#include "library/Library.h"

#include "library/AudioFrames.h"
#include "library/AudioFunctions.h"
#include "library/ConversionFunctions.h"
#include "library/DateTimeFunctions.h"
#include "library/FileFunctions.h"
#include "library/MathFunctions.h"
#include "library/MiscFunctions.h"
#include "library/PanelFunctions.h"
#include "library/SocketFunctions.h"
#include "library/StringFunctions.h"
#include "library/TimelineFunctions.h"
#include "program/AST.h"

#include <QDateTime>
#include <QFile>
#include <QHash>

#include <cmath>

namespace {
using Made = std::unique_ptr<BuiltinFunction>;

template <class Func>
Made make(const QString &name)
{
    return std::make_unique<Func>(name);
}

// Every built-in, in registration order. A new one is a class in its family's file, unless it
// differs from a sibling by a value, and a row here.
// Columns: name, alias, declared result, least and most arguments, maker.
// clang-format off
constexpr Builtin kBuiltins[] = {
    { "combine_devices", Alias::Lower, ResultKind::None, 1, kAnyNumber, make<CombineDeviceFunc> },
    { "set_virtual_channel_count", Alias::None, ResultKind::None, 2, 2, make<SetVirtualCountFunc> },
    { "set_virtual_level_count", Alias::None, ResultKind::None, 2, 2, make<SetVirtualCountFunc> },
    { "do_push", Alias::Lower, ResultKind::None, 1, kAnyNumber, make<DoPushFunc> },
    { "abs_value", Alias::None, ResultKind::Number, 1, 1, make<AbsValueFunc> },
    { "max_value", Alias::Lower, ResultKind::Number, 2, 2, make<MaxValueFunc> },
    { "min_value", Alias::Lower, ResultKind::Number, 2, 2, make<MinValueFunc> },
    { "random_number", Alias::None, ResultKind::Number, 1, 1, make<RandomNumberFunc> },
    { "length_string", Alias::Lower, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new ArraySizeFunc(name, &Array::length)); } },
    { "compare_string", Alias::Lower, ResultKind::Number, 2, 2, make<CompareStringFunc> },
    { "find_string", Alias::Lower, ResultKind::Number, 2, 3, make<FindStringFunc> },
    { "left_string", Alias::None, ResultKind::None, 2, 2, make<LeftStringFunc> },
    { "right_string", Alias::None, ResultKind::None, 2, 2, make<RightStringFunc> },
    { "lower_string", Alias::Lower, ResultKind::None, 1, 1, make<LowerStringFunc> },
    { "upper_string", Alias::Lower, ResultKind::None, 1, 1, make<UpperStringFunc> },
    { "mid_string", Alias::None, ResultKind::None, 2, 3, make<MidStringFunc> },
    { "remove_string", Alias::None, ResultKind::None, 2, 3, make<RemoveStringFunc> },
    { "length_array", Alias::Lower, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new ArraySizeFunc(name, &Array::length, kWrongArgument)); } },
    { "atoi", Alias::None, ResultKind::Number, 1, 1, make<AToIFunc> },
    { "itoa", Alias::None, ResultKind::None, 1, 1, make<IToAFunc> },
    { "atol", Alias::None, ResultKind::Number, 1, 1, make<AToLFunc> },
    { "ftoa", Alias::None, ResultKind::None, 1, 1, make<FToAFunc> },
    { "atof", Alias::None, ResultKind::Number, 1, 1, make<AToFFunc> },
    { "itohex", Alias::None, ResultKind::None, 1, 1, make<IToHexFunc> },
    { "hextoi", Alias::None, ResultKind::Number, 1, 1, make<HexToIFunc> },
    { "uncombine_devices", Alias::Lower, ResultKind::None, 1, kAnyNumber, make<UncombineDeviceFunc> },
    { "exp_value", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new StandardMathFunc(name, ::exp)); } },
    { "log_value", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new StandardMathFunc(name, ::log)); } },
    { "log10_value", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new StandardMathFunc(name, ::log10)); } },
    { "power_value", Alias::None, ResultKind::Number, 2, 2, make<PowerValueFunc> },
    { "sqrt_value", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new StandardMathFunc(name, ::sqrt)); } },
    { "ip_client_open", Alias::None, ResultKind::None, 3, 4, make<IpClientOpenFunc> },
    { "ip_bound_client_open", Alias::None, ResultKind::None, 4, 5, [](const QString &name) { return Made(new IpClientOpenFunc(name, IpClientOpenFunc::Bound::Yes)); } },
    { "format", Alias::None, ResultKind::None, 2, 2, make<FormatFunc> },
    { "sin_value", Alias::None, ResultKind::Number, 1, 1, make<SinValueFunc> },
    { "cos_value", Alias::None, ResultKind::Number, 1, 1, make<CosValueFunc> },
    { "reboot", Alias::Lower, ResultKind::None, 1, 1, make<RebootFunc> },
    { "ip_client_close", Alias::Lower, ResultKind::None, 1, 1, [](const QString &name) { return Made(new SocketCloseFunc(name, &SocketActions::closeClient)); } },
    { "ip_server_open", Alias::Lower, ResultKind::None, 2, 3, make<IpServerOpenFunc> },
    { "ip_server_close", Alias::None, ResultKind::None, 1, 1, make<IpServerCloseFunc> },
    { "date_to_day", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new DateFieldFunc(name, [](const QDate &date) { return date.day(); })); } },
    { "date_to_month", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new DateFieldFunc(name, [](const QDate &date) { return date.month(); })); } },
    { "date_to_year", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new DateFieldFunc(name, [](const QDate &date) { return date.year(); })); } },
    { "day_of_week", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new DateFieldFunc(name, [](const QDate &date) { return date.dayOfWeek(); })); } },
    { "time_to_hour", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new TimeFieldFunc(name, &QTime::hour)); } },
    { "time_to_minute", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new TimeFieldFunc(name, &QTime::minute)); } },
    { "time_to_second", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new TimeFieldFunc(name, &QTime::second)); } },
    { "get_buffer_char", Alias::None, ResultKind::Array, 1, 1, make<GetBufferCharFunc> },
    { "type_cast", Alias::None, ResultKind::Number, 1, 1, make<TypeCastFunc> },
    { "timeline_create", Alias::None, ResultKind::Number, 3, 5, make<TimelineCreateFunc> },
    { "set_length_array", Alias::None, ResultKind::None, 2, 2, make<SetLengthArrayFunc> },
    { "set_length_string", Alias::None, ResultKind::None, 2, 2, make<SetLengthStringFunc> },
    { "timeline_kill", Alias::None, ResultKind::None, 1, 1, make<TimelineKillFunc> },
    { "get_buffer_string", Alias::None, ResultKind::None, 2, 2, make<GetBufferStringFunc> },
    { "timeline_active", Alias::None, ResultKind::None, 1, 1, make<TimelineActiveFunc> },
    { "timeline_pause", Alias::None, ResultKind::None, 1, 1, make<TimelinePauseFunc> },
    { "timeline_restart", Alias::None, ResultKind::None, 1, 1, make<TimelineRestartFunc> },
    { "get_last", Alias::None, ResultKind::None, 1, 1, make<GetLastFunc> },
    { "max_length_array", Alias::None, ResultKind::None, 1, 1, [](const QString &name) { return Made(new ArraySizeFunc(name, &Array::capacity)); } },
    { "max_length_string", Alias::None, ResultKind::None, 1, 1, [](const QString &name) { return Made(new ArraySizeFunc(name, &Array::capacity)); } },
    { "get_master_build", Alias::None, ResultKind::None, 0, 0, make<GetMasterBuildFunc> },
    { "get_system_number", Alias::None, ResultKind::None, 0, 0, make<GetSystemNumberFunc> },
    { "ch_to_wc", Alias::None, ResultKind::None, 1, 1, [](const QString &name) { return Made(new RetypeFunc(name, WideCharType)); } },
    { "wc_to_ch", Alias::None, ResultKind::None, 1, 1, [](const QString &name) { return Made(new RetypeFunc(name, CharType)); } },
    { "device_id", Alias::None, ResultKind::None, 1, 1, make<DeviceIdFunc> },
    { "process_start", Alias::None, ResultKind::None, 2, 2, [](const QString &name) { return Made(new PanelCommandFunc(name, "process-")); } },
    { "url_open", Alias::None, ResultKind::None, 2, 2, [](const QString &name) { return Made(new PanelCommandFunc(name, "url-")); } },
    { "button_text", Alias::None, ResultKind::None, 3, 3, make<ButtonTextFunc> },
    { "button_property", Alias::None, ResultKind::None, 3, 3, make<ButtonPropertyFunc> },
    { "set_button_property", Alias::None, ResultKind::None, 4, 4, make<SetButtonPropertyFunc> },
    { "set_button_state_property", Alias::None, ResultKind::None, 5, 5, make<SetButtonStatePropertyFunc> },
    { "page_property", Alias::None, ResultKind::None, 3, 3, make<PagePropertyFunc> },
    { "set_page_property", Alias::None, ResultKind::None, 4, 4, make<SetPagePropertyFunc> },
    { "button_state_property", Alias::None, ResultKind::None, 4, 4, make<ButtonStatePropertyFunc> },
    { "modbus_crc16", Alias::None, ResultKind::Number, 1, 1, make<ModbusCRC16Func> },
    { "base64_to_array", Alias::None, ResultKind::Array, 1, 1, make<Base64ToArrayFunc> },
    { "array_to_base64", Alias::None, ResultKind::Array, 1, 1, make<ArrayToBase64Func> },
    { "array_to_float", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new ArrayToRealFunc(name, FloatType)); } },
    { "float_to_array", Alias::None, ResultKind::Array, 1, 1, [](const QString &name) { return Made(new RealToArrayFunc(name, FloatType)); } },
    { "array_to_double", Alias::None, ResultKind::Number, 1, 1, [](const QString &name) { return Made(new ArrayToRealFunc(name, DoubleType)); } },
    { "double_to_array", Alias::None, ResultKind::Array, 1, 1, [](const QString &name) { return Made(new RealToArrayFunc(name, DoubleType)); } },
    { "bss_gain_value", Alias::None, ResultKind::None, 1, 1, make<BssGainFunc> },
    { "bss_make_cmd", Alias::None, ResultKind::None, 4, 4, make<MakeBssCmdFunc> },
    { "bss_escape_cmd", Alias::None, ResultKind::None, 1, 1, [](const QString &name) { return Made(new BssConvertFunc(name, AudioFrames::escaped)); } },
    { "bss_unescape_cmd", Alias::None, ResultKind::None, 1, 1, [](const QString &name) { return Made(new BssConvertFunc(name, AudioFrames::unescaped)); } },
    { "bss_gain_mono_vol", Alias::None, ResultKind::Array, 2, 2, make<BssGainMonoVolFunc> },
    { "bss_gain_mono_mute", Alias::None, ResultKind::Array, 2, 2, make<BssGainMonoMuteFunc> },
    { "bss_gain_ninput_vol", Alias::None, ResultKind::Array, 3, 3, make<BssGainNInputVolFunc> },
    { "bss_gain_ninput_mute", Alias::None, ResultKind::Array, 3, 3, make<BssGainNInputMuteFunc> },
    { "bss_meter_trigger_meter", Alias::None, ResultKind::None, 1, 1, make<BssMeterTriggerReadMeterFunc> },
    { "bss_para_preset", Alias::None, ResultKind::Array, 1, 1, [](const QString &name) { return Made(new BssPresetFunc(name, AudioFrames::ParameterPreset)); } },
    { "bss_venue_preset", Alias::None, ResultKind::Array, 1, 1, [](const QString &name) { return Made(new BssPresetFunc(name, AudioFrames::VenuePreset)); } },
    { "bss_source_matrix", Alias::None, ResultKind::Array, 3, 3, make<BssSourceMatrixFunc> },
    { "bss_source_selector", Alias::None, ResultKind::Array, 2, 2, make<BssSourceSelectorFunc> },
    { "bss_matrix_mixer_joint", Alias::None, ResultKind::None, 4, 4, make<BssMatrixMixerJointFunc> },
    { "bss_matrix_router", Alias::None, ResultKind::None, 4, 4, make<BssMatrixRouterFunc> },
    { "websocket_server_open", Alias::None, ResultKind::None, 3, 3, make<WebSocketServerOpenFunc> },
    { "websocket_server_close", Alias::None, ResultKind::None, 1, 1, [](const QString &name) { return Made(new SocketCloseFunc(name, &SocketActions::closeWebSocketServer)); } },
    { "websocket_client_open", Alias::None, ResultKind::None, 2, 2, make<WebSocketClientOpenFunc> },
    { "websocket_client_close", Alias::None, ResultKind::None, 1, 1, [](const QString &name) { return Made(new SocketCloseFunc(name, &SocketActions::closeWebSocketClient)); } },
    { "file_open", Alias::None, ResultKind::None, 2, 2, make<FileOpenFunc> },
    { "file_close", Alias::None, ResultKind::None, 1, 1, make<FileCloseFunc> },
    { "file_copy", Alias::None, ResultKind::None, 2, 2, make<FileCopyFunc> },
    { "file_delete", Alias::None, ResultKind::None, 1, 1, make<FileDeleteFunc> },
    { "FILE_RENAME", Alias::None, ResultKind::None, 2, 2, [](const QString &name) { return Made(new FileTransferFunc(name, QFile::rename)); } },
    { "FILE_READ", Alias::None, ResultKind::None, 3, 3, [](const QString &name) { return Made(new FileInputFunc(name, FileInputFunc::Unit::Bytes)); } },
    { "FILE_READ_LINE", Alias::None, ResultKind::None, 3, 3, [](const QString &name) { return Made(new FileInputFunc(name, FileInputFunc::Unit::Line)); } },
    { "FILE_SEEK", Alias::None, ResultKind::None, 2, 2, make<FileSeekFunc> },
    { "FILE_WRITE", Alias::None, ResultKind::None, 3, 3, [](const QString &name) { return Made(new FileOutputFunc(name, "")); } },
    { "FILE_WRITE_LINE", Alias::None, ResultKind::None, 3, 3, [](const QString &name) { return Made(new FileOutputFunc(name, "\r")); } },
    { "SET_PULSE_TIME", Alias::None, ResultKind::None, 1, 1, make<SetPulseTimeFunc> },
    { "MD5_VALUE", Alias::None, ResultKind::None, 1, 2, make<Md5Func> },
    { "raw_be", Alias::None, ResultKind::None, 1, 1, [](const QString &name) { return Made(new RawFunc(name, ByteOrder::BigEndian)); } },
    { "raw_le", Alias::None, ResultKind::None, 1, 1, [](const QString &name) { return Made(new RawFunc(name, ByteOrder::LittleEndian)); } },
    { "get_ip_addr", Alias::None, ResultKind::None, 0, 1, make<GetIPFunc> },
    { "get_mac_addr", Alias::None, ResultKind::None, 0, 1, make<GetMACFunc> },
    { "play_sound", Alias::None, ResultKind::None, 2, 2, [](const QString &name) { return Made(new PanelCommandFunc(name, "play-")); } },
    { "wakeup_onlan", Alias::None, ResultKind::None, 1, 3, make<WakeupOnLanFunc> },
    { "save_var", Alias::None, ResultKind::None, 2, 2, make<SaveParamFunc> },
    { "load_var", Alias::None, ResultKind::None, 2, 2, make<LoadParamFunc> },
    { "delete_all_vars", Alias::None, ResultKind::None, 0, 0, make<DeleteAllParamFunc> },
    { "log_line", Alias::None, ResultKind::None, 2, 2, make<LogLineFunc> },
    { "set_container_property", Alias::None, ResultKind::None, 4, 4, make<SetContainerPropertyFunc> },
    { "container_call", Alias::None, ResultKind::None, 3, 4, make<ContainerCallFunc> },
    { "tcp_send", Alias::None, ResultKind::None, 3, 3, [](const QString &name) { return Made(new SendOnceFunc(name, SocketActions::Protocol::Tcp)); } },
    { "udp_send", Alias::None, ResultKind::None, 3, 3, [](const QString &name) { return Made(new SendOnceFunc(name, SocketActions::Protocol::Udp)); } },
};
// clang-format on

const QHash<QString, const Builtin *> &rowsByName()
{
    static const QHash<QString, const Builtin *> rows = [] {
        QHash<QString, const Builtin *> found;
        for (const Builtin &row : kBuiltins) {
            found.insert(normalisedName(QString::fromLatin1(row.name)), &row);
        }
        return found;
    }();
    return rows;
}
} // namespace

Library::Library()
{
    for (const Builtin &row : kBuiltins) {
        if (!row.isAvailable()) {
            continue;
        }
        const QString name = QString::fromLatin1(row.name);
        std::unique_ptr<BuiltinFunction> function = row.make(name);
        if (row.alias == Alias::Lower) {
            function->addAlias(name.toLower());
        }
        if (row.result == ResultKind::Number) {
            function->setReturnType({ DoubleType, {} });
        } else if (row.result == ResultKind::Array) {
            function->setReturnType({ CharType, { 0 } }); // size 0: not bounded
        }
        m_functions.push_back(std::move(function));
    }
}

Library::~Library() = default;

std::span<const Builtin> Library::table()
{
    return kBuiltins;
}

const Builtin *Library::find(const QString &name)
{
    return rowsByName().value(normalisedName(name), nullptr);
}

void Library::registerIn(AST &program) const
{
    for (const auto &function : m_functions) {
        function->setProgram(&program);
        program.addBuiltin(function.get());
    }
}
