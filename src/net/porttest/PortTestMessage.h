#pragma once
#include <QByteArray>
#include <QString>

#include <optional>
#include <variant>

/// The bodies of port test frames (codes 0x35 and 0x40); docs/formats/port-test.md.
namespace PortTest {

enum class Kind : qint32 { TcpClient = 5, TcpServer = 6, UdpClient = 7, UdpServer = 8 }; // the tens of a command code

struct Start
{
    Kind kind = Kind::TcpClient;
    QString host; // empty for a server
    quint16 port = 0;
};

struct Stop
{
    Kind kind = Kind::TcpClient;
    bool wantsReport = false; // that it is off now
};

struct Send
{
    Kind kind = Kind::TcpClient; // not a UDP server
    QByteArray data;
};

using Request = std::variant<Start, Stop, Send>;

struct State // of a report: a client is connected, a server listens
{
    Kind kind = Kind::TcpClient;
    bool isOn = false;
};

struct Data // of a report: received
{
    Kind kind = Kind::TcpClient;
    QByteArray data;
};

using Report = std::variant<State, Data>;

/// Nothing for an unknown command, missing bytes, or a port outside 1 to 65535.
std::optional<Request> parseRequest(const QByteArray &body);
std::optional<Report> parseReport(const QByteArray &body);

QByteArray encodeRequest(const Request &request);
QByteArray encodeReport(const Report &report);

} // namespace PortTest
