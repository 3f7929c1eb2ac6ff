#include "net/client/LinkMessage.h"
#include "support/Table.h"
#include "support/TestClass.h"

namespace {
QString shown(const LinkMessage &message)
{
    QString text = QString::fromLatin1(linkMessageKindName(message.kind));
    for (const auto &[name, value] : message.fields) {
        text += QStringLiteral(" %1=%2").arg(QString::fromLatin1(name), QString::fromUtf8(value));
    }
    for (const LinkMessage::Pair &pair : message.pairs) {
        text += QStringLiteral(" %1:%2").arg(pair.first).arg(pair.second);
    }
    return text;
}
} // namespace

class LinkMessageTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decodes_data();
    void decodes();
    void decodesSnapshot_data();
    void decodesSnapshot();
};

void LinkMessageTest::decodes_data()
{
    const Table<int, QByteArray, QString> row("code", "body", "message");
    row("single channel", 0x1B, "5:1:0-0", "feedback channel=5 status=1 first=0 last=0");
    row("range", 0x1B, "5:1:1-10", "feedback channel=5 status=1 first=1 last=10");
    row("range from below zero", 0x1B, "5:1:-2--1", "feedback channel=5 status=1 first=-2 last=-1");
    row("channels", 0x1B, "5:1:6:0", "feedback-channels 5:1 6:0");
    row("odd count", 0x1B, "5:1:6", "other");
    row("list", 0x1C, "5:1:3,5,7", "feedback-list channel=5 status=1 channels=3,5,7");
    row("level", 0x1D, "1:-50", "level 1:-50");
    row("command with colons", 0x1E, "a:b", "command text=a:b");
    row("property with colons", 0x3A, "setproperty:5,6:name:a:b", "set-property channels=5,6 property=name value=a:b");
    row("state property", 0x3B, "setstateproperty:5:text:1:Go",
        "set-state-property channels=5 property=text state=1 value=Go");
    row("wrong prefix", 0x3A, "property:5:name:a", "other");
    row("fields missing", 0x42, "containercall:5:show", "other");
    row("empty last field", 0x42, "containercall:5:show:", "container-call channels=5 method=show value=");
    row("monitor line", 0x14, QByteArray::fromHex("0468c3a9"), "monitor-line type=4 text=h\u00e9");
    row("empty monitor line", 0x14, "", "other");
}

void LinkMessageTest::decodes()
{
    QFETCH(int, code);
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    QCOMPARE(shown(decodeLinkMessage(static_cast<quint8>(code), body)), message);
}

void LinkMessageTest::decodesSnapshot_data()
{
    const Table<QByteArray, QString> row("body", "records");
    const QByteArray head = QByteArray::fromHex("00000001 00000003");
    const QByteArray single = QByteArray::fromHex("00000000 00000005 00000001 00000000 00000000");
    const QByteArray range = QByteArray::fromHex("00000001 00000004 00000001 00000001 0000000a");
    const QByteArray list = QByteArray::fromHex("00000002 00000007 00000000 00000002 00000003 00000007");
    row("all kinds", head + single + range + list, "0/5/1/0/0 1/4/1/1/10 2/7/0/2/0[3,7]");
    row("cut between records", head + single, "0/5/1/0/0");
    row("cut inside a record", head + single + range.chopped(1), "0/5/1/0/0");
    row("cut inside a list", head + list.chopped(4), "");
    row("giant list", head + QByteArray::fromHex("00000002 00000007 00000000 7fffffff 00000003"), "");
    row("another format", QByteArray::fromHex("00000002 00000001") + single, "");
    row("nothing", "", "");
}

void LinkMessageTest::decodesSnapshot()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, records);
    QStringList found;
    const QVector<SnapshotRecord> all = decodeSnapshot(body);
    for (const SnapshotRecord &record : all) {
        QString text = QStringLiteral("%1/%2/%3/%4/%5")
                           .arg(record.kind)
                           .arg(record.channel)
                           .arg(record.status)
                           .arg(record.third)
                           .arg(record.fourth);
        QStringList channels;
        for (const int channel : record.channels) {
            channels << QString::number(channel);
        }
        found << text + (channels.isEmpty() ? QString() : QStringLiteral("[%1]").arg(channels.join(QLatin1Char(','))));
    }
    QCOMPARE(found.join(QLatin1Char(' ')), records);
}

TEST_CLASS(LinkMessageTest)
#include "LinkMessageTest.moc"
