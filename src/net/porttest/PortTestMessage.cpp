#include "net/porttest/PortTestMessage.h"

#include <QDataStream>

namespace {
using namespace PortTest;

// The ones of a command code.
constexpr qint32 kSwitch = 1; // on or off; in a report: the state
constexpr qint32 kRemove = 2;
constexpr qint32 kData = 3;

constexpr qint32 kKindStep = 10;
constexpr qint32 kLastPort = 65535;

bool isServer(Kind kind)
{
    return kind == Kind::TcpServer || kind == Kind::UdpServer;
}

std::optional<Kind> kindOf(qint32 command)
{
    const qint32 tens = command / kKindStep;
    const bool isKnown =
        command > 0 && tens >= static_cast<qint32>(Kind::TcpClient) && tens <= static_cast<qint32>(Kind::UdpServer);
    return isKnown ? std::optional(static_cast<Kind>(tens)) : std::nullopt;
}

qint32 commandOf(Kind kind, qint32 what)
{
    return static_cast<qint32>(kind) * kKindStep + what;
}

std::optional<Request> parseSwitch(Kind kind, QDataStream &stream)
{
    QString host;
    qint32 port = 0;
    qint32 on = 0;
    if (!isServer(kind)) {
        stream >> host;
    }
    stream >> port >> on;
    if (stream.status() != QDataStream::Ok || port < 1 || port > kLastPort) {
        return std::nullopt;
    }
    return on != 0 ? Request(Start{ kind, host, static_cast<quint16>(port) }) : Request(Stop{ kind, true });
}

template <class Fields>
QByteArray encoded(Fields writeFields)
{
    QByteArray body;
    QDataStream stream(&body, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_4);
    writeFields(stream);
    return body;
}
} // namespace

std::optional<PortTest::Request> PortTest::parseRequest(const QByteArray &body)
{
    QDataStream stream(body);
    stream.setVersion(QDataStream::Qt_5_4);
    qint32 command = 0;
    stream >> command;
    const std::optional<Kind> kind = kindOf(command);
    if (!kind) {
        return std::nullopt;
    }
    switch (command % kKindStep) {
    case kSwitch:
        return parseSwitch(*kind, stream);
    case kRemove:
        return Stop{ *kind, false };
    case kData:
        if (*kind != Kind::UdpServer) {
            Send send{ *kind, QByteArray() };
            stream >> send.data;
            return stream.status() == QDataStream::Ok ? std::optional<Request>(send) : std::nullopt;
        }
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

std::optional<PortTest::Report> PortTest::parseReport(const QByteArray &body)
{
    QDataStream stream(body);
    stream.setVersion(QDataStream::Qt_5_4);
    qint32 command = 0;
    stream >> command;
    const std::optional<Kind> kind = kindOf(command);
    if (kind && command % kKindStep == kSwitch) {
        qint32 on = 0;
        stream >> on;
        return stream.status() == QDataStream::Ok ? std::optional<Report>(State{ *kind, on != 0 }) : std::nullopt;
    }
    if (kind && command % kKindStep == kData) {
        Data report{ *kind, QByteArray() };
        stream >> report.data;
        return stream.status() == QDataStream::Ok ? std::optional<Report>(report) : std::nullopt;
    }
    return std::nullopt;
}

QByteArray PortTest::encodeRequest(const Request &request)
{
    return encoded([&](QDataStream &stream) {
        if (const auto *start = std::get_if<Start>(&request)) {
            stream << commandOf(start->kind, kSwitch);
            if (!isServer(start->kind)) {
                stream << start->host;
            }
            stream << static_cast<qint32>(start->port) << qint32(1);
        } else if (const auto *stop = std::get_if<Stop>(&request)) {
            stream << commandOf(stop->kind, kRemove);
        } else {
            const Send &send = std::get<Send>(request);
            stream << commandOf(send.kind, kData) << send.data;
        }
    });
}

QByteArray PortTest::encodeReport(const Report &report)
{
    return encoded([&](QDataStream &stream) {
        if (const auto *state = std::get_if<State>(&report)) {
            stream << commandOf(state->kind, kSwitch) << static_cast<qint32>(state->isOn);
        } else {
            const Data &data = std::get<Data>(report);
            stream << commandOf(data.kind, kData) << data.data;
        }
    });
}
