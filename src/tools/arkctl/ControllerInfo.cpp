#include "tools/arkctl/ControllerInfo.h"

#include <vector>

#include <nlohmann/json.hpp>

std::optional<ControllerInfo> parseControllerInfo(const QByteArray &text)
{
    const QStringList lines = QString::fromUtf8(text).split(QLatin1Char('\n'));
    const QStringList network = lines.first().split(QLatin1Char('_'));
    const bool isDhcp = network.first() == QLatin1String("dhcp");
    if (lines.size() != 4 || network.size() != 6 || (!isDhcp && network.first() != QLatin1String("staticip"))) {
        return std::nullopt;
    }
    return ControllerInfo{ isDhcp,        network.at(1), network.at(2),
                           network.at(3), network.at(4), network.at(5).toInt(),
                           lines.at(1),   lines.at(2),   lines.at(3) };
}

std::string shownInfo(Rendering::Form form, const ControllerInfo &info, const QString &address)
{
    std::vector<std::pair<const char *, QString>> rows{
        { "model", info.model },
        { "version", info.version },
        { "system", QString::number(info.systemNumber) },
        { "mac", info.mac },
        { "mode", info.isDhcp ? QStringLiteral("dhcp") : QStringLiteral("static") },
        { "ip", info.ip },
        { "netmask", info.netmask },
        { "gateway", info.gateway },
        { "dns", info.nameServer },
    };
    if (!address.isEmpty()) {
        rows.insert(rows.begin(), { "address", address });
    }
    if (form == Rendering::Form::Json) {
        nlohmann::ordered_json object;
        for (const auto &[name, value] : rows) {
            object[name] = value.toStdString();
        }
        object["system"] = info.systemNumber;
        return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    }
    QStringList lines;
    for (const auto &[name, value] : rows) {
        lines << QString::fromLatin1(name).leftJustified(9) + value;
    }
    return lines.join(QLatin1Char('\n')).toStdString();
}
