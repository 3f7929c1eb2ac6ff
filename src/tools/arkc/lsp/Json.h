#pragma once
#include <QString>

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

namespace nlohmann {
template <>
struct adl_serializer<QString>
{
    static void to_json(json &value, const QString &text) { value = text.toStdString(); }
};
} // namespace nlohmann

namespace arkc {
using Json = nlohmann::json;

// What an editor sends may have any form: what is not there, or is something else, counts as empty.

inline const Json &member(const Json &object, const char *name)
{
    static const Json kNothing;
    const auto found = object.is_object() ? object.find(name) : object.end();
    return found != object.end() ? *found : kNothing;
}

inline QString textOf(const Json &value)
{
    return value.is_string() ? QString::fromStdString(value.get_ref<const std::string &>()) : QString();
}

inline int numberOf(const Json &value) // what does not fit is cut off
{
    const qint64 number = value.is_number_integer() ? value.get<qint64>() : 0;
    return static_cast<int>(std::clamp<qint64>(number, -1, std::numeric_limits<int>::max()));
}
} // namespace arkc
