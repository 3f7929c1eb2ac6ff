#include "library/SocketFunctions.h"

#include "base/Numbers.h"
#include "interp/ProgramState.h"
#include "model/Values.h"

#include <algorithm>

#include <arpa/inet.h>

namespace {
using Protocol = SocketActions::Protocol;

constexpr int kLeastBoundPort = 10;
constexpr int kMostPort = 65535;

/// Whether a text is an IPv4 or IPv6 address in numbers; an IPv6 address may name its interface behind a "%".
bool isNumericAddress(const QString &text)
{
    in6_addr room{};
    const QByteArray bytes = text.toUtf8();
    const QByteArray withoutInterface = bytes.left(bytes.indexOf('%') < 0 ? bytes.size() : bytes.indexOf('%'));
    return ::inet_pton(AF_INET, bytes.constData(), &room) == 1 ||
           ::inet_pton(AF_INET6, withoutInterface.constData(), &room) == 1;
}

bool isPort(int number)
{
    return number >= 1 && number <= kMostPort;
}

/// The number of a protocol argument that may be left out. most: 2 or 3.
std::optional<Protocol> protocolOf(int number, int most)
{
    return number >= 1 && number <= most ? std::optional(static_cast<Protocol>(number)) : std::nullopt;
}

std::unique_ptr<Array> arrayOf(int typeCode, std::vector<std::unique_ptr<BasicType>> elements)
{
    auto array = std::make_unique<Array>(typeCode);
    array->setLength(static_cast<int>(elements.size()));
    array->setMaxLength(array->length());
    for (size_t index = 0; index < elements.size(); ++index) {
        array->setElement(static_cast<int>(index) + 1, std::move(elements[index]));
    }
    return array;
}

std::unique_ptr<BasicType> rowOf(const QByteArray &bytes)
{
    auto row = std::make_unique<Array>(IntegerType);
    row->setLength(bytes.size());
    row->setMaxLength(bytes.size());
    for (int index = 0; index < bytes.size(); ++index) {
        row->setNumber(index + 1, static_cast<quint8>(bytes.at(index)));
    }
    return row;
}

std::unique_ptr<Array> rowsOf(const std::vector<QByteArray> &addresses)
{
    std::vector<std::unique_ptr<BasicType>> rows;
    std::transform(addresses.begin(), addresses.end(), std::back_inserter(rows), rowOf);
    return arrayOf(IntegerType, std::move(rows));
}

std::unique_ptr<Array> textsOf(const std::vector<QByteArray> &addresses)
{
    std::vector<std::unique_ptr<BasicType>> texts;
    std::transform(addresses.begin(), addresses.end(), std::back_inserter(texts),
                   [](const QByteArray &text) { return Array::ofBytes(viewOf(text)); });
    return arrayOf(CharType, std::move(texts));
}

QByteArray octetsOf(quint32 address)
{
    QByteArray octets;
    for (const int shift : { 24, 16, 8, 0 }) {
        octets.append(static_cast<char>(address >> shift));
    }
    return octets;
}

QByteArray dotted(quint32 address)
{
    QByteArrayList numbers;
    for (const char octet : octetsOf(address)) {
        numbers << QByteArray::number(static_cast<quint8>(octet));
    }
    return numbers.join('.');
}

/// Six bytes of a text that may have separators; what is missing counts as 0.
QByteArray macOf(QByteArray text)
{
    constexpr int kDigits = 12;
    for (const char separator : { ':', '-', '.', ' ' }) {
        text.replace(separator, "");
    }
    text = text.leftJustified(kDigits, '0', true);
    QByteArray mac;
    for (int at = 0; at < kDigits; at += 2) {
        mac.append(static_cast<char>(text.mid(at, 2).toInt(nullptr, 16)));
    }
    return mac;
}
} // namespace

SocketActions *SocketFunction::sockets(const ArgumentList &arguments)
{
    return arguments.run().state().sockets();
}

void IpClientOpenFunc::call(const ArgumentList &arguments)
{
    setStatus(arguments, open(arguments));
}

int IpClientOpenFunc::open(const ArgumentList &arguments) const
{
    int next = 0;
    const int localPort = truncated(arguments.number(next++));
    if (localPort < 0) {
        report(QT_TRANSLATE_NOOP("messages", "Wrong %1 function localport"));
        return 0;
    }
    int boundPort = 0;
    if (m_bound == Bound::Yes) {
        boundPort = truncated(arguments.number(next++));
        if (boundPort < kLeastBoundPort || boundPort > kMostPort) {
            report(QT_TRANSLATE_NOOP("messages", "Wrong %1 function local ip port"));
            return 0;
        }
    }
    SocketActions *const actions = sockets(arguments);
    const QString address = textArgument(arguments, next++).trimmed();
    if (!isNumericAddress(address)) {
        if (actions) {
            actions->refuseAddress(localPort);
        }
        report(QT_TRANSLATE_NOOP("messages", "Wrong %1 function server address"));
        return 0;
    }
    const int port = truncated(arguments.number(next++));
    if (!isPort(port)) {
        report(QT_TRANSLATE_NOOP("messages", "Wrong %1 function server port"));
        return 0;
    }
    const auto protocol = protocolOf(arguments.has(next) ? truncated(arguments.number(next)) : 1, 3);
    if (!protocol) {
        report(QT_TRANSLATE_NOOP("messages", "Unknown protocol in %1 function"));
        return 0;
    }
    return actions ? actions->openClient(localPort, address, static_cast<quint16>(port), *protocol, boundPort) : 0;
}

void IpServerOpenFunc::call(const ArgumentList &arguments)
{
    setStatus(arguments, open(arguments));
}

int IpServerOpenFunc::open(const ArgumentList &arguments) const
{
    constexpr int kWrongPort = -1;
    constexpr int kWrongProtocol = -2;
    const int localPort = arguments.integer(0);
    if (localPort < 0) {
        report(QT_TRANSLATE_NOOP("messages", "%1 function local port is not valid"));
        return kWrongPort;
    }
    const int port = arguments.integer(1);
    if (!isPort(port)) {
        report(QT_TRANSLATE_NOOP("messages", "%1 function server port is not valid"));
        return kWrongPort;
    }
    const auto protocol = protocolOf(arguments.has(2) ? arguments.integer(2) : 1, 2);
    if (!protocol) {
        report(QT_TRANSLATE_NOOP("messages", "%1 function protocol is not valid"));
        return kWrongProtocol;
    }
    SocketActions *const actions = sockets(arguments);
    return actions ? actions->openServer(localPort, static_cast<quint16>(port), *protocol) : 0;
}

void WebSocketServerOpenFunc::call(const ArgumentList &arguments)
{
    setStatus(arguments, open(arguments));
}

int WebSocketServerOpenFunc::open(const ArgumentList &arguments) const
{
    constexpr int kWrongPort = -1;
    const int localPort = arguments.integer(0);
    if (localPort < 0) {
        report(QT_TRANSLATE_NOOP("messages", "%1 function local port is invalid"));
        return kWrongPort;
    }
    const int port = arguments.integer(1);
    if (!isPort(port)) {
        report(QT_TRANSLATE_NOOP("messages", "%1 function server port is not valid"));
        return kWrongPort;
    }
    const QString name = textArgument(arguments, 2);
    SocketActions *const actions = sockets(arguments);
    return actions ? actions->openWebSocketServer(localPort, static_cast<quint16>(port), name) : 0;
}

void WebSocketClientOpenFunc::call(const ArgumentList &arguments)
{
    setStatus(arguments, open(arguments));
}

int WebSocketClientOpenFunc::open(const ArgumentList &arguments)
{
    constexpr int kNoUrl = -1;
    constexpr int kWrongPort = -3;
    const int localPort = arguments.count() < 2 ? 0 : arguments.integer(0);
    if (localPort <= 0) {
        return kWrongPort;
    }
    const QString url = textArgument(arguments, 1);
    if (url.isEmpty()) {
        return kNoUrl;
    }
    SocketActions *const actions = sockets(arguments);
    return actions ? actions->openWebSocketClient(localPort, url) : 0;
}

void SocketCloseFunc::call(const ArgumentList &arguments)
{
    const int localPort = truncated(arguments.number(0));
    if (localPort == -1) {
        report(QT_TRANSLATE_NOOP("messages", "Wrong %1 port"));
    } else if (SocketActions *const actions = sockets(arguments)) {
        (actions->*m_close)(localPort);
    }
}

void IpServerCloseFunc::call(const ArgumentList &arguments)
{
    SocketCloseFunc::call(arguments);
    setResult(0, IntegerType);
}

void SendOnceFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() < 3) {
        report(QT_TRANSLATE_NOOP("messages", "Argument of %1 function is too less"));
        return;
    }
    const QString host = textArgument(arguments, 0).trimmed();
    const int port = arguments.integer(1);
    const QByteArray data = bytesArgument(arguments, 2);
    SocketActions *const actions = sockets(arguments);
    if (!host.isEmpty() && !data.isEmpty() && actions && !actions->sendOnce(m_protocol, host, port, data)) {
        report(QT_TRANSLATE_NOOP("messages", "Too many messages of %1 function are waiting, one was dropped"));
    }
}

void GetIPFunc::call(const ArgumentList &arguments)
{
    constexpr int kAsNumbers = 1;
    SocketActions *const actions = sockets(arguments);
    const std::vector<quint32> addresses = actions ? actions->ipAddresses() : std::vector<quint32>();
    const bool asNumbers = arguments.integer(0) == kAsNumbers;
    std::vector<QByteArray> parts;
    std::transform(addresses.begin(), addresses.end(), std::back_inserter(parts), asNumbers ? octetsOf : dotted);
    setResult(asNumbers ? rowsOf(parts) : textsOf(parts));
}

void GetMACFunc::call(const ArgumentList &arguments)
{
    SocketActions *const actions = sockets(arguments);
    const QStringList addresses = actions ? actions->hardwareAddresses() : QStringList();
    const int separator = arguments.integer(0);
    std::vector<QByteArray> parts;
    for (const QString &address : addresses) {
        const QByteArray text = address.toLatin1();
        parts.push_back(separator == 0 ? QByteArray::fromHex(text)
                                       : QByteArray(text).replace(':', QByteArray(1, static_cast<char>(separator))));
    }
    setResult(separator == 0 ? rowsOf(parts) : textsOf(parts));
}

void WakeupOnLanFunc::call(const ArgumentList &arguments)
{
    constexpr quint16 kUsualPort = 9;
    constexpr int kRepeats = 16;
    constexpr int kPreamble = 6;
    const QByteArray mac = macOf(bytesArgument(arguments, 0));
    const QString address = textArgument(arguments, 1).trimmed();
    const auto port = static_cast<quint16>(arguments.integer(2));
    if (SocketActions *const actions = sockets(arguments)) {
        actions->broadcast(isNumericAddress(address) ? address : QString(), port != 0 ? port : kUsualPort,
                           QByteArray(kPreamble, '\xFF') + mac.repeated(kRepeats));
    }
}
