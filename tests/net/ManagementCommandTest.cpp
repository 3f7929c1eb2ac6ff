#include "net/link/ManagementCommand.h"
#include "io/HostNetwork.h"
#include "support/Table.h"
#include "support/TestClass.h"

using namespace Management;

namespace {
QString shown(const Command &command)
{
    if (const auto *set = std::get_if<SetSystemNumber>(&command)) {
        return QStringLiteral("system %1").arg(set->number);
    }
    if (const auto *use = std::get_if<UseDhcp>(&command)) {
        return QStringLiteral("dhcp '%1'").arg(use->mac) + QLatin1String(use->isTried ? "" : " untried");
    }
    if (const auto *use = std::get_if<UseStaticIp>(&command)) {
        return QStringList{ use->ip, use->netmask, use->gateway, use->dns, use->mac }.join(QLatin1Char(' ')) +
               QLatin1String(use->isTried ? "" : " untried");
    }
    if (const auto *set = std::get_if<SetDateTime>(&command)) {
        return QStringLiteral("date '%1'").arg(set->text);
    }
    if (const auto *ask = std::get_if<AskIrCode>(&command)) {
        return QStringLiteral("ir %1").arg(ask->number);
    }
    if (const auto *ask = std::get_if<AskListenStatus>(&command)) {
        return QStringLiteral("status '%1'").arg(ask->text);
    }
    if (const auto *ask = std::get_if<AskMonitorHistory>(&command)) {
        return QStringLiteral("history %1").arg(ask->ageMs);
    }
    if (const auto *set = std::get_if<SetPort>(&command)) {
        return QStringLiteral("port %1 '%2'").arg(set->port, set->lines.join(QLatin1Char('|')));
    }
    if (const auto *put = std::get_if<PutIntoPort>(&command)) {
        const QByteArray data = put->data ? put->data->toHex() : QByteArray("?");
        return QStringLiteral("input %1 %2").arg(put->port, QString::fromLatin1(data));
    }
    const char *const plain[] = { "",           "reboot", "",       "", "date?", "", "",
                                  "listening?", "",       "ports?", "", "",      "", "detect" };
    return QString::fromLatin1(plain[command.index()]);
}
} // namespace

class ManagementCommandTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void reads_data();
    void reads();
    void wrongNetworks_data();
    void wrongNetworks();
};

void ManagementCommandTest::reads_data()
{
    // command: empty: ignored
    const Table<QByteArray, QString> row("text", "command");
    row("sysnum\n12", "system 12");
    row("sysnum\n0", "system 0");
    row("sysnum", "");
    row("sysnum\ntwelve", "");
    row("sysnum\n1\n2", "");
    row("reboot", "reboot");
    row("rebootnow", "");
    row("dhcp", "dhcp ''");
    row("dhcp\n", "dhcp ''");
    row("dhcp\n08:90:00:Aa:0b:1c", "dhcp '08:90:00:Aa:0b:1c'");
    row("dhcp\n08:90:00:aa:0b", "dhcp ''");
    row("dhcp\n08:90:00:aa:0b:1c;reboot", "dhcp ''");
    row("dhcp\n08:90:00:aa:0b:1c\n", "");
    row("dhcp\n\nuntried", "dhcp '' untried");
    row("staticip\n10.0.0.2\n255.0.0.0\n10.0.0.1\n8.8.8.8\n", "10.0.0.2 255.0.0.0 10.0.0.1 8.8.8.8 ");
    row("staticip\n10.0.0.2\n255.0.0.0\n10.0.0.1\n8.8.8.8\n\nuntried", "10.0.0.2 255.0.0.0 10.0.0.1 8.8.8.8  untried");
    row("staticip\n10.0.0.2\n255.0.0.0\n10.0.0.1\n8.8.8.8\n\nnever", "");
    row("staticip\n10.0.0.2\n255.0.0.0\n10.0.0.1\n8.8.8.8", "");
    row("staticip\n10.0.0.2\n255.0.0.0\n$(reboot)\n8.8.8.8\n", "");
    row("staticip\n10.0.0.256\n255.0.0.0\n10.0.0.1\n8.8.8.8\n", "");
    row("datetime?", "date?");
    row("datetime!2024-05-01 12:00:00", "date '2024-05-01 12:00:00'");
    row("ir-3", "ir 3");
    row("ir", "");
    row("ir-3-4", "");
    row("ir-x", "");
    row("listening?", "listening?");
    row("ports?", "ports?");
    row("ports? all", "");
    row("ports!relay1\nline=a:1\nactiveLow=true", "port relay1 'line=a:1|activeLow=true'");
    row("ports!relay1", "port relay1 ''");
    row("ports!", "");
    row("portinput!serial1\n410a", "input serial1 410a");
    row("portinput!serial1\n410A", "input serial1 410a");
    row("portinput!serial1\n", "input serial1 ");
    for (const QByteArray wrong : { "", "\n4", "\n410", "\n4x", "\n41 0a", "\n41\n41" }) {
        row("portinput!serial1" + wrong, "input serial1 ?");
    }
    row("portdetect?", "detect");
    row("listenstatus?", "status ''");
    row("listenstatus?10.0.0.3\n10.0.0.4", "status '10.0.0.3\n10.0.0.4'");
    row("monitorhistory?600000", "history 600000");
    row("monitorhistory?", "");
    row("monitorhistory?-1", "");
    row("monitorhistory?99999999999999999999", "");
    row("", "");
    row("format c:", "");
}

void ManagementCommandTest::reads()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, command);
    const std::optional<Command> parsed = parse(text);
    QCOMPARE(parsed ? shown(*parsed) : QString(), command);
}

void ManagementCommandTest::wrongNetworks_data()
{
    // network: address|netmask|gateway|name server; problem: empty: none
    const Table<QString, QString> row("network", "problem");
    const QString noAddress = QStringLiteral("%1 is no address that a controller can have");
    const QString noNetmask = QStringLiteral("%1 is no netmask of a network");
    const QString noNeighbour = QStringLiteral("The gateway %1 is no neighbour of %2 with netmask %3");
    const QString mask = QStringLiteral("255.255.255.0");
    const QString ours = QStringLiteral("10.77.0.20");
    row("10.77.0.20|255.255.254.0|10.77.0.255|10.1.1.1", ""); // in a network this wide it is a host like others
    row("10.77.0.20|255.255.255.0||", "");
    row("10.77.0.20|255.255.255.0|0.0.0.0|127.0.0.53", "");
    row("10.77.0.21|255.255.255.252|10.77.0.22|fe80::1", "");
    row("10.77.0.20|255.255.255.252|10.77.0.22|fe80::1", noAddress.arg(ours));
    for (const char *address :
         { "0.0.0.0", "0.1.2.3", "127.0.0.1", "224.0.0.5", "240.0.0.1", "255.255.255.255", "10.77", "010.77.0.20",
           "10.77.0.024", "10.77.0.300", "10.77.0.20 ", "10.77.0.20/24", "fe80::1", "", "10.77.0.0", "10.77.0.255",
           "10..77.0.1", "+10.77.0.1", "0x0a4d0014" }) {
        const QString text = QString::fromLatin1(address);
        row(QStringList{ text, mask, {}, {} }.join(QLatin1Char('|')), noAddress.arg(text));
    }
    for (const char *netmask : { "255.255.255.255", "255.255.255.254", "0.0.0.0", "254.0.0.0", "255.0.255.0",
                                 "255.255.255", "24", "0.0.0.255", "" }) {
        const QString text = QString::fromLatin1(netmask);
        row(QStringList{ ours, text, {}, {} }.join(QLatin1Char('|')), noNetmask.arg(text));
    }
    for (const char *gateway : { "10.77.1.1", "172.20.0.1", "10.77.0.20", "10.77.0.0", "10.77.0.255", "10.77", "x" }) {
        const QString text = QString::fromLatin1(gateway);
        row(QStringList{ ours, mask, text, {} }.join(QLatin1Char('|')), noNeighbour.arg(text, ours, mask));
    }
    for (const char *server : { "dns.example", "224.0.0.251", "10.1" }) {
        const QString text = QString::fromLatin1(server);
        row(QStringList{ ours, mask, {}, text }.join(QLatin1Char('|')),
            QStringLiteral("%1 is no address of a name server").arg(text));
    }
}

void ManagementCommandTest::wrongNetworks()
{
    QFETCH(QString, network);
    const QStringList parts = network.split(QLatin1Char('|'));
    const HostNetwork wanted{ false, parts.value(0), parts.value(1), parts.value(2), parts.value(3) };
    QTEST(problemOf(wanted).value_or(QString()), "problem");
}

TEST_CLASS(ManagementCommandTest)
#include "ManagementCommandTest.moc"
