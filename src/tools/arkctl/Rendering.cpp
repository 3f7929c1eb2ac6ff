#include "tools/arkctl/Rendering.h"
#include "base/MonitorNames.h"
#include <QDataStream>
#include <QDateTime>
#include <QRegularExpression>

#include <array>

#include <nlohmann/json.hpp>

namespace Rendering {
std::string escaped(const QByteArray &bytes)
{
    const QString text = QString::fromUtf8(bytes); // what is no text gets replacement characters
    QString shown;
    for (const QChar c : text) {
        const ushort code = c.unicode();
        const bool isControl = code < 0x20 || (code >= 0x7F && code < 0xA0);
        shown += isControl ? QStringLiteral("\\x%1").arg(code, 2, 16, QLatin1Char('0')) : QString(c);
    }
    return shown.toStdString();
}

namespace {
using Json = nlohmann::ordered_json;

std::string typeName(qint64 type)
{
    const bool isKnown = type >= 0 && type < static_cast<qint64>(kMonitorTypeNames.size());
    return isKnown ? kMonitorTypeNames.at(static_cast<size_t>(type)) : "type-" + std::to_string(type);
}

std::string timeText(const QDateTime &when)
{
    return when.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")).toStdString();
}

std::string dump(const Json &object)
{
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json jsonStart(const QDateTime &when)
{
    Json object;
    object["time"] = when.toString(Qt::ISODateWithMs).toStdString();
    return object;
}

/// Numbers and lists of channels as such, everything else as text.
Json jsonValue(const LinkMessage &message, const LinkMessage::Field &field)
{
    const auto &[name, value] = field;
    if (name == "channels") {
        const QVector<qint64> channels = message.channels();
        return Json(std::vector<qint64>(channels.begin(), channels.end()));
    }
    bool converts = false;
    const qint64 number = value.toLongLong(&converts);
    const bool isText = name == "text" || name == "value" || name == "page";
    return converts && !isText ? Json(number) : Json(value.toStdString());
}

Json snapshotRecords(const QByteArray &body)
{
    Json records = Json::array();
    const QVector<SnapshotRecord> all = decodeSnapshot(body);
    for (const SnapshotRecord &record : all) {
        Json one;
        const bool isLevel = record.kind == 0 && record.third != 0;
        if (isLevel) {
            one["level"] = record.third;
            one["value"] = record.fourth;
        } else {
            one["channel"] = record.channel;
            one["status"] = record.status;
        }
        if (record.kind == 1) {
            one["first"] = record.third;
            one["last"] = record.fourth;
        } else if (record.kind == 2) {
            one["channels"] = std::vector<int>(record.channels.begin(), record.channels.end());
        }
        records.push_back(one);
    }
    return records;
}

std::string panelText(const LinkMessage &message)
{
    std::string text = linkMessageKindName(message.kind);
    for (const auto &[name, value] : message.fields) {
        text += ' ' + name.toStdString() + '=' + escaped(value);
    }
    for (const LinkMessage::Pair &pair : message.pairs) {
        text += ' ' + std::to_string(pair.first) + '=' + std::to_string(pair.second);
    }
    if (message.kind == LinkMessage::Kind::Snapshot) {
        text += ' ' + dump(snapshotRecords(message.body));
    } else if (message.kind == LinkMessage::Kind::Other) {
        text += " code=" + std::to_string(message.code) + " body=" + message.body.toHex(' ').toStdString();
    }
    return text;
}

const char *stateWord(const PortTest::State &state)
{
    const bool isServer = state.kind == PortTest::Kind::TcpServer || state.kind == PortTest::Kind::UdpServer;
    if (isServer) {
        return state.isOn ? "listening" : "not-listening";
    }
    return state.isOn ? "connected" : "not-connected";
}

Json panelJson(const QDateTime &when, const LinkMessage &message)
{
    Json object = jsonStart(when);
    object["kind"] = linkMessageKindName(message.kind);
    for (const LinkMessage::Field &field : message.fields) {
        object[field.first.toStdString()] = jsonValue(message, field);
    }
    if (!message.pairs.isEmpty()) {
        Json pairs = Json::array();
        for (const LinkMessage::Pair &pair : message.pairs) {
            pairs.push_back({ pair.first, pair.second });
        }
        object["pairs"] = pairs;
    }
    if (message.kind == LinkMessage::Kind::Snapshot) {
        object["records"] = snapshotRecords(message.body);
    } else if (message.kind == LinkMessage::Kind::Other) {
        object["code"] = message.code;
        object["body"] = message.body.toHex().toStdString();
    }
    return object;
}
} // namespace

std::string quotedStart(const QByteArray &bytes)
{
    constexpr int kShown = 40;
    const QByteArray line = bytes.left(std::max(bytes.indexOf('\n'), 0)).trimmed();
    return '"' + escaped((line.isEmpty() ? bytes : line).left(kShown)) + '"';
}

std::vector<std::string> monitorTypeNames()
{
    return { kMonitorTypeNames.begin(), kMonitorTypeNames.end() };
}

namespace {
/// A line that ends with bytes in hexadecimal which are text and end with CR or LF: with the text.
QString withText(const QString &line, Hex hex)
{
    static const QRegularExpression ending(QStringLiteral("(?:[0-9A-F]{2} )+0[AD]$"));
    const QRegularExpressionMatch match = ending.match(line);
    const QByteArray bytes = QByteArray::fromHex(match.captured().toLatin1());
    const QByteArray text = bytes.trimmed();
    const bool isText = std::all_of(text.begin(), text.end(), [](char sign) { return sign >= ' ' && sign <= '~'; });
    if (text.isEmpty() || !isText || !bytes.startsWith(text)) {
        return line;
    }
    QString shown = QString::fromLatin1(bytes);
    shown.replace(QLatin1Char('\r'), QLatin1String("\\r")).replace(QLatin1Char('\n'), QLatin1String("\\n"));
    return line.left(match.capturedStart()) + shown +
           (hex == Hex::Too ? QStringLiteral(" (%1)").arg(match.captured()) : QString());
}
} // namespace

std::string monitorLine(Form form, const QDateTime &when, int type, const QString &text, Hex hex)
{
    if (form == Form::Json) {
        Json object = jsonStart(when);
        object["type"] = type;
        object["name"] = typeName(type);
        object["text"] = text.toStdString();
        return dump(object);
    }
    std::string name = typeName(type);
    name.resize(std::max<size_t>(name.size(), kMonitorNameWidth), ' ');
    return timeText(when) + "  " + name + "  " + escaped(withText(text, hex).toUtf8());
}

std::string portTestReport(Form form, const QDateTime &when, const PortTest::Report &report)
{
    const auto *data = std::get_if<PortTest::Data>(&report);
    const std::string what = data ? "received" : stateWord(std::get<PortTest::State>(report));
    if (form == Form::Json) {
        Json object = jsonStart(when);
        object["event"] = what;
        if (data) {
            object["text"] = data->data.toStdString();
            object["hex"] = data->data.toHex().toStdString();
        }
        return dump(object);
    }
    const std::string line = timeText(when) + "  " + what;
    return data ? line + "  " + std::to_string(data->data.size()) + " bytes: " + escaped(data->data) : line;
}

std::string panelMessage(Form form, const QDateTime &when, const LinkMessage &message)
{
    return form == Form::Json ? dump(panelJson(when, message)) : timeText(when) + "  " + panelText(message);
}

std::optional<std::vector<LinkState>> linkStates(const QByteArray &statusStream)
{
    QDataStream stream(statusStream);
    stream.setVersion(QDataStream::Qt_5_4);
    qint32 count = 0;
    stream >> count;
    std::vector<LinkState> states;
    while (stream.status() == QDataStream::Ok && static_cast<qint32>(states.size()) < count) {
        LinkState state;
        qint32 status = 0;
        stream >> state.address >> status;
        state.status = status;
        states.push_back(state);
    }
    const bool isWhole = stream.status() == QDataStream::Ok && count >= 0 && stream.atEnd();
    return isWhole ? std::optional(states) : std::nullopt;
}

std::string linkState(Form form, const LinkState &state)
{
    constexpr std::array kNames = { "unconnected", "connected", "linked" };
    const bool isKnown = state.status >= 0 && state.status < static_cast<int>(kNames.size());
    const std::string name =
        isKnown ? kNames.at(static_cast<size_t>(state.status)) : "status-" + std::to_string(state.status);
    if (form == Form::Json) {
        Json object;
        object["address"] = state.address.toStdString();
        object["status"] = state.status;
        object["state"] = name;
        return dump(object);
    }
    std::string address = escaped(state.address.toUtf8());
    address.resize(std::max<size_t>(address.size(), 15), ' ');
    return address + "  " + name;
}

namespace {
/// One line of a table; the last column is as long as it is.
std::string tableRow(std::initializer_list<size_t> widths, std::vector<std::string> columns)
{
    size_t column = 0;
    std::string line;
    for (const size_t width : widths) {
        const std::string &text = columns.at(column++);
        line += text + std::string(text.size() < width ? width - text.size() : 1, ' ');
    }
    line += columns.at(column);
    return line.erase(line.find_last_not_of(' ') + 1);
}

std::string portRow(const std::vector<std::string> &columns)
{
    return tableRow({ 9, 11, 24, 10, 20, 10, 10 }, columns);
}

std::string deviceRow(const std::vector<std::string> &columns)
{
    return tableRow({ 10, 32, 32 }, columns);
}

std::string fieldOf(const Json &object, const char *key)
{
    const auto value = object.find(key);
    return value == object.end() ? std::string()
           : value->is_string()  ? escaped(QByteArray::fromStdString(*value))
                                 : value->dump();
}

std::string joined(std::initializer_list<std::string> texts)
{
    std::string all;
    for (const std::string &text : texts) {
        all += (all.empty() || text.empty() ? "" : ", ") + text;
    }
    return all;
}

std::string portLine(const Json &port)
{
    const auto shown = [&port](const char *key) { return fieldOf(port, key); };
    const std::string open = shown("open");
    return portRow({ shown("port"), shown("kind"), shown("device"),
                     open == "true"    ? "open"
                     : open == "false" ? "not open"
                                       : "",
                     shown("settings"), shown("bytesIn"), shown("bytesOut"), shown("lastError") });
}

std::string deviceLine(const Json &device)
{
    const auto shown = [&device](const char *key) { return fieldOf(device, key); };
    if (const std::string count = shown("count"); !count.empty()) {
        return count + " more are left out";
    }
    const auto with = [](const char *prefix, const std::string &text) { return text.empty() ? text : prefix + text; };
    const bool canLearn = shown("receives") == "true" && shown("sends") == "false";
    const std::string what =
        joined({ shown("file"), shown("driver"), shown("product"), shown("line"),
                 shown("sends") == "true" ? "sends" : "", shown("receives") == "true" ? "receives" : "" });
    const std::string state = joined({ shown("port"), shown("port").empty() ? with("in use by ", shown("usedBy")) : "",
                                       shown("problem"), with("arkctl ports set ", shown("set")),
                                       canLearn ? "arkctl ir learn --device " + shown("device") : "" });
    return deviceRow({ shown("kind"), shown("device"), what, state });
}

std::optional<std::vector<std::string>> table(Form form, const QByteArray &json, const std::string &heading,
                                              std::string (*line)(const Json &))
{
    const Json list = Json::parse(json.begin(), json.end(), nullptr, false);
    if (!list.is_array()) {
        return std::nullopt;
    }
    std::vector<std::string> lines;
    if (form == Form::Text) {
        lines.push_back(heading);
    }
    for (const Json &each : list) {
        lines.push_back(form == Form::Json ? dump(each) : line(each));
    }
    return lines;
}
} // namespace

std::optional<std::vector<std::string>> ports(Form form, const QByteArray &json)
{
    return table(form, json, portRow({ "port", "kind", "device", "", "settings", "in", "out", "last error" }),
                 portLine);
}

std::optional<std::vector<std::string>> detectedDevices(Form form, const QByteArray &json)
{
    return table(form, json, deviceRow({ "kind", "device", "what it is", "its port, or how to give it one" }),
                 deviceLine);
}
} // namespace Rendering
