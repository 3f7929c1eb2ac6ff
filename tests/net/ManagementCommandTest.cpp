#include "net/ManagementCommand.h"
#include "support/Table.h"
#include <QtTest>

using namespace Management;

namespace {
QString shown(const Command &command)
{
    if (const auto *set = std::get_if<SetSystemNumber>(&command)) {
        return QStringLiteral("system %1").arg(set->number);
    }
    if (const auto *use = std::get_if<UseDhcp>(&command)) {
        return QStringLiteral("dhcp '%1'").arg(use->mac);
    }
    if (const auto *use = std::get_if<UseStaticIp>(&command)) {
        return QStringList{ use->ip, use->netmask, use->gateway, use->dns, use->mac }.join(QLatin1Char(' '));
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
    const char *const plain[] = { "", "reboot", "", "", "date?", "", "", "listening?" };
    return QString::fromLatin1(plain[command.index()]);
}
} // namespace

class ManagementCommandTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void reads_data();
    void reads();
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
    row("staticip\n10.0.0.2\n255.0.0.0\n10.0.0.1\n8.8.8.8\n", "10.0.0.2 255.0.0.0 10.0.0.1 8.8.8.8 ");
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

QTEST_APPLESS_MAIN(ManagementCommandTest)
#include "ManagementCommandTest.moc"
