#include "LibraryBench.h"
#include "support/Table.h"
#include "support/TestClass.h"

/// What the socket functions check, report, ask for and give.
class SocketFunctionsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void calls_data();
    void calls();
    void showsItsAddresses();
    void wakesMachines_data();
    void wakesMachines();
    void tellsOfDroppedMessages();
};

namespace {
const QVariant kNone; // no result
const QByteArray kAddress("10.0.0.5");
} // namespace

void SocketFunctionsTest::calls_data()
{
    const Table<QByteArray, QVariantList, QString, QString, QVariant> row("name", "arguments", "call", "message",
                                                                          "result");
    const auto client = [&](const char *label, const QVariantList &arguments, const char *call, const char *message) {
        row(label, "ip_client_open", arguments, call, message, message[0] ? 0.0 : 7.0);
    };
    client("client", { 1, kAddress, 23 }, "client 1 10.0.0.5 23 1 0", "");
    client("client, cut off", { -0.9, kAddress, 23.9, 3.9 }, "client 0 10.0.0.5 23 3 0", "");
    client("client, IPv6", { 1, QByteArray(" fe80::1%eth0 "), 23, 2 }, "client 1 fe80::1%eth0 23 2 0", "");
    client("client, local port", { -1, QByteArray("x"), 0 }, "", "Wrong ip_client_open function localport");
    client("client, a name", { 1, QByteArray("localhost"), 0 }, "refuse 1",
           "Wrong ip_client_open function server address");
    client("client, a part of an address", { 1, QByteArray("10.0.0"), 23 }, "refuse 1",
           "Wrong ip_client_open function server address");
    client("client, no address", { 1 }, "refuse 1", "Wrong ip_client_open function server address");
    client("client, port 0", { 1, kAddress, 0.9, 9 }, "", "Wrong ip_client_open function server port");
    client("client, port too big", { 1, kAddress, 65536 }, "", "Wrong ip_client_open function server port");
    client("client, port below 0", { 1, kAddress, -23 }, "", "Wrong ip_client_open function server port");
    client("client, protocol 0", { 1, kAddress, 23, 0 }, "", "Unknown protocol in ip_client_open function");
    client("client, protocol 4", { 1, kAddress, 23, 4 }, "", "Unknown protocol in ip_client_open function");
    const auto bound = [&](const char *label, const QVariantList &arguments, const char *call, const char *message) {
        row(label, "ip_bound_client_open", arguments, call, message, message[0] ? 0.0 : 7.0);
    };
    bound("bound", { 1, 5000, kAddress, 23 }, "client 1 10.0.0.5 23 1 5000", "");
    bound("bound, local port", { -1, 5, kAddress, 23 }, "", "Wrong ip_bound_client_open function localport");
    bound("bound, port 9", { 1, 9.9, kAddress, 23 }, "", "Wrong ip_bound_client_open function local ip port");
    bound("bound, port too big", { 1, 65536, kAddress, 23 }, "", "Wrong ip_bound_client_open function local ip port");
    bound("bound, a name", { 1, 10, QByteArray("x"), 23 }, "refuse 1",
          "Wrong ip_bound_client_open function server address");
    bound("bound, port 0", { 1, 10, kAddress, 0 }, "", "Wrong ip_bound_client_open function server port");
    bound("bound, protocol", { 1, 10, kAddress, 23, 5 }, "", "Unknown protocol in ip_bound_client_open function");

    row("server", "ip_server_open", { 2, 7999.9999999999 }, "server 2 8000 1", "", 7.0);
    row("server, UDP", "ip_server_open", { 2, 8000, 2 }, "server 2 8000 2", "", 7.0);
    row("server, local port", "ip_server_open", { -1, 0 }, "", "ip_server_open function local port is not valid", -1.0);
    row("server, port", "ip_server_open", { 2, 70000 }, "", "ip_server_open function server port is not valid", -1.0);
    row("server, protocol", "ip_server_open", { 2, 8000, 3 }, "", "ip_server_open function protocol is not valid",
        -2.0);
    row("websocket server", "websocket_server_open", { 2, 8000, QByteArray("room") }, "websocket server 2 8000 room",
        "", 7.0);
    row("websocket server, local port", "websocket_server_open", { -2, 8000, QByteArray("x") }, "",
        "websocket_server_open function local port is invalid", -1.0);
    row("websocket server, port", "websocket_server_open", { 2, 0, QByteArray("x") }, "",
        "websocket_server_open function server port is not valid", -1.0);
    row("websocket client", "websocket_client_open", { 1, QByteArray("ws://h/p") }, "websocket client 1 ws://h/p", "",
        7.0);
    row("websocket client, local port", "websocket_client_open", { 0, QByteArray("ws://h/p") }, "", "", -3.0);
    row("websocket client, no URL", "websocket_client_open", { 1 }, "", "", -3.0);
    row("websocket client, empty URL", "websocket_client_open", { 1, QByteArray() }, "", "", -1.0);

    row("close client", "ip_client_close", { 0 }, "close client 0", "", kNone);
    row("close client, -1", "ip_client_close", { -1.5 }, "", "Wrong ip_client_close port", kNone);
    row("close server", "ip_server_close", { 3.7 }, "close server 3", "", 0.0);
    row("close server, -1", "ip_server_close", { -1 }, "", "Wrong ip_server_close port", 0.0);
    row("close websocket server", "websocket_server_close", { 4 }, "close websocket server 4", "", kNone);
    row("close websocket server, -1", "websocket_server_close", { -1 }, "", "Wrong websocket_server_close port", kNone);
    row("close websocket client", "websocket_client_close", { 5 }, "close websocket client 5", "", kNone);
    row("close websocket client, -1", "websocket_client_close", { -1 }, "", "Wrong websocket_client_close port", kNone);

    row("tcp_send", "tcp_send", { QByteArray("host"), 80, QByteArray("data") }, "send 1 host 80 data", "", kNone);
    row("tcp_send, too few", "tcp_send", { QByteArray("host"), 80 }, "", "Argument of tcp_send function is too less",
        kNone);
    row("tcp_send, no host", "tcp_send", { QByteArray(), 80, QByteArray("data") }, "", "", kNone);
    row("udp_send", "udp_send", { kAddress, 80, QByteArray("data") }, "send 2 10.0.0.5 80 data", "", kNone);
    row("udp_send, too few", "udp_send", {}, "", "Argument of udp_send function is too less", kNone);
    row("udp_send, no data", "udp_send", { kAddress, 80, QByteArray() }, "", "", kNone);
}

void SocketFunctionsTest::calls()
{
    QFETCH(QByteArray, name);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, call);
    QFETCH(QString, message);
    QFETCH(QVariant, result);
    LibraryBench bench;
    bench.sockets.status = 7;
    QCOMPARE(bench.call(name.constData(), arguments), result);
    QCOMPARE(bench.sockets.calls.join(QLatin1Char('|')), call);
    QCOMPARE(bench.messages.join(QLatin1Char('|')), message);

    bench.state.setSockets(nullptr); // a program that is only looked at
    bench.call(name.constData(), arguments);
}

void SocketFunctionsTest::showsItsAddresses()
{
    const auto rows = [](LibraryBench &bench, const char *name, const QVariantList &arguments) {
        bench.call(name, arguments);
        const auto *function =
            static_cast<BuiltinFunction *>(bench.program.findFunction(Name(QString::fromLatin1(name))));
        QByteArrayList found;
        const Array *all = asArray(function->resultObject().get());
        for (int index = 1; all && index <= all->length(); ++index) {
            found << asArray(all->object(index))->toBytes();
        }
        return found;
    };
    LibraryBench bench;
    QCOMPARE(rows(bench, "get_ip_addr", {}), QByteArrayList());
    bench.sockets.ips = { 0x0A000005, 0xC0A80101 };
    bench.sockets.macs = QStringList{ QStringLiteral("08:90:00:12:34:56") };
    QCOMPARE(rows(bench, "get_ip_addr", {}), QByteArrayList({ "10.0.0.5", "192.168.1.1" }));
    QCOMPARE(rows(bench, "get_ip_addr", { 1 }),
             QByteArrayList({ QByteArray::fromHex("0a000005"), "\xC0\xA8\x01\x01" }));
    QCOMPARE(rows(bench, "get_mac_addr", {}), QByteArrayList({ QByteArray::fromHex("089000123456") }));
    QCOMPARE(rows(bench, "get_mac_addr", { 45 }), QByteArrayList({ "08-90-00-12-34-56" }));
}

void SocketFunctionsTest::wakesMachines_data()
{
    const Table<QVariantList, QByteArray, QString> row("arguments", "mac", "call");
    row("short", { QByteArray("0011223344") }, "001122334400", "broadcast  9");
    row("long", { QByteArray("0011223344556677"), QByteArray(), 0 }, "001122334455", "broadcast  9");
    row("separators", { QByteArray("00:11-22 aa.Bb:cc"), QByteArray("127.0.0.1"), 7 }, "001122aabbcc",
        "broadcast 127.0.0.1 7");
    row("no address", { QByteArray("xy1122334455"), QByteArray("nowhere"), 65536 }, "001122334455", "broadcast  9");
}

void SocketFunctionsTest::wakesMachines()
{
    QFETCH(QVariantList, arguments);
    QFETCH(QByteArray, mac);
    QFETCH(QString, call);
    LibraryBench bench;
    bench.call("wakeup_onlan", arguments);
    QCOMPARE(bench.sockets.calls, QStringList(call));
    QCOMPARE(bench.sockets.datagram.size(), 102);
    QCOMPARE(bench.sockets.datagram.toHex(), "ffffffffffff" + mac.repeated(16));
}

void SocketFunctionsTest::tellsOfDroppedMessages()
{
    LibraryBench bench;
    bench.sockets.isFull = true;
    bench.call("tcp_send", { QByteArray("host"), 80, QByteArray("data") });
    QCOMPARE(bench.messages,
             QStringList(QStringLiteral("Too many messages of tcp_send function are waiting, one was dropped")));
}

TEST_CLASS(SocketFunctionsTest)
#include "SocketFunctionsTest.moc"
