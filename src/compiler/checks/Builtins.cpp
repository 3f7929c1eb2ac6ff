#include "compiler/checks/Builtins.h"

#include <algorithm>
#include <cstring>

namespace {
struct Row
{
    const char *name;
    const char *arguments; // ArgumentKind of each; behind the last: Any
    bool givesText;
};

// The built-ins that do nothing but give a value.
constexpr Row kPure[] = {
    { "abs_value", "n", false },
    { "max_value", "nn", false },
    { "min_value", "nn", false },
    { "random_number", "n", false },
    { "length_string", "t", false },
    { "compare_string", "xx", false },
    { "find_string", "tx", false },
    { "left_string", "tn", true },
    { "right_string", "tn", true },
    { "lower_string", "t", true },
    { "upper_string", "t", true },
    { "mid_string", "tnn", true },
    { "length_array", "t", false },
    { "atoi", "t", false },
    { "itoa", "n", true },
    { "atol", "t", false },
    { "ftoa", "n", true },
    { "atof", "t", false },
    { "itohex", "n", true },
    { "hextoi", "t", false },
    { "exp_value", "n", false },
    { "log_value", "n", false },
    { "log10_value", "n", false },
    { "power_value", "nn", false },
    { "sqrt_value", "n", false },
    { "format", "tn", true },
    { "sin_value", "n", false },
    { "cos_value", "n", false },
    { "date_to_day", "x", false },
    { "date_to_month", "x", false },
    { "date_to_year", "x", false },
    { "day_of_week", "x", false },
    { "time_to_hour", "x", false },
    { "time_to_minute", "x", false },
    { "time_to_second", "x", false },
    { "type_cast", "x", false },
    { "timeline_active", "n", false },
    { "get_last", "x", false },
    { "max_length_array", "x", false },
    { "max_length_string", "x", false },
    { "get_master_build", "", false },
    { "get_system_number", "", false },
    { "ch_to_wc", "x", false },
    { "wc_to_ch", "x", false },
    { "device_id", "x", false },
    { "modbus_crc16", "x", false },
    { "base64_to_array", "x", false },
    { "array_to_base64", "x", true },
    { "array_to_float", "x", false },
    { "float_to_array", "n", false },
    { "array_to_double", "x", false },
    { "double_to_array", "n", false },
    { "md5_value", "x", true },
    { "raw_be", "x", false },
    { "raw_le", "x", false },
    { "get_ip_addr", "x", true },
    { "get_mac_addr", "x", true },
};

const Row *rowOfBuiltin(const QString &function)
{
    const auto *const row = std::find_if(std::begin(kPure), std::end(kPure), [&function](const Row &entry) {
        return function.compare(QLatin1String(entry.name), Qt::CaseInsensitive) == 0;
    });
    return row != std::end(kPure) ? row : nullptr;
}
} // namespace

ArgumentKind argumentKind(const QString &function, size_t index)
{
    const Row *row = rowOfBuiltin(function);
    return row && index < std::strlen(row->arguments) ? static_cast<ArgumentKind>(row->arguments[index])
                                                      : ArgumentKind::Any;
}

bool givesText(const QString &function)
{
    const Row *row = rowOfBuiltin(function);
    return row && row->givesText;
}

bool hasEffects(const QString &function)
{
    return rowOfBuiltin(function) == nullptr && !function.startsWith(QLatin1String("bss_"), Qt::CaseInsensitive);
}
