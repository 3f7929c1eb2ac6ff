#include "ControllerProcess.h"
#include "net/client/LinkClient.h"
#include "support/TestClass.h"

#include <csignal>

/// A program, its panels and a tool: what one reports reaches the program, what the program says reaches the others.
class RoomTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pushToFeedback();
    void snapshotForALatecomer();
    void comesAndGoes();
    void questionsToAPanel();
    void toItemsEndWithTheNextPush();
    void variablesSurviveARestart();
};

namespace {
/// A panel that keeps what it was told.
class Panel
{
public:
    explicit Panel(int number)
        : client({ 1, number, "panel", "1" })
    {
        QObject::connect(&client, &LinkClient::received, &client, [this](const LinkMessage &message) {
            messages << QByteArray(linkMessageKindName(message.kind)) + ' ' + message.body;
            if (message.kind == LinkMessage::Kind::Snapshot) {
                snapshot = decodeSnapshot(message.body);
            }
        });
    }

    LinkClient client;
    QByteArrayList messages;
    QVector<SnapshotRecord> snapshot;
};
} // namespace

#define HEARS(panel, message) QTRY_VERIFY2((panel).messages.contains(message), (panel).messages.join('\n').constData())

void RoomTest::pushToFeedback()
{
    ControllerProcess controller;
    INSTALLS(controller, "device dvPanel = 10001:1:0\n exclusive [dvPanel, 1..3]\n"
                         "button_event [dvPanel, 2] {\n"
                         "  push: { on [5001:9:0, 4]; on [dvPanel, 2]\n send_command dvPanel, 'page-Main' }\n"
                         "  release: { off [5001:9:0, 4]; pulse [5001:18:0, 3] } }");
    STARTS(controller);
    Panel panel(10001);
    JOINS(panel.client, controller);
    panel.client.push(2);
    HEARS(panel, "feedback 2:1:1-3");
    HEARS(panel, "command page-Main");
    SAYS(controller, "On relay: 4");
    panel.client.release(2);
    SAYS(controller, "Off relay: 4");
    SAYS(controller, "Pulse IO 3");
    QTRY_COMPARE(panel.client.pendingMessages(), 0); // both were acknowledged
}

void RoomTest::snapshotForALatecomer()
{
    ControllerProcess controller;
    INSTALLS(controller, "device dvPanel = 10001:1:0\n device dvOther = 10002:1:0\n"
                         "start { on [dvPanel, 7]; send_level dvPanel, 2, 40; on [dvOther, 9] }");
    STARTS(controller);
    Panel panel(10001);
    JOINS(panel.client, controller);
    QTRY_COMPARE(panel.snapshot.size(), 2);
    QCOMPARE(panel.snapshot.at(0).channel, 7);
    QCOMPARE(panel.snapshot.at(0).status, 1);
    QCOMPARE(panel.snapshot.at(1).third, 2);
    QCOMPARE(panel.snapshot.at(1).fourth, 40);
}

void RoomTest::comesAndGoes()
{
    ControllerProcess controller;
    INSTALLS(controller, "device dvPanel = 10001:1:0\n integer nVolume\n level [dvPanel, 2] nVolume\n"
                         "data_event [dvPanel] {\n"
                         "  online: { send_command dvPanel, 'hello' }\n"
                         "  offline: { send_string 5001:1:0, 'panel off' } }\n"
                         "level_event [dvPanel, 2] { send_string 5001:1:0, \"'volume ', itoa(nVolume)\" }\n"
                         "button_event [dvPanel, 1] { push: { nVolume = 77 } }");
    STARTS(controller);
    Panel panel(10001);
    JOINS(panel.client, controller);
    HEARS(panel, "command hello");
    panel.client.reportLevel(2, 55);
    SAYS(controller, "volume 55"); // the variable has it before the handler runs
    panel.client.push(1);
    HEARS(panel, "level 2:77");
    panel.client.close();
    SAYS(controller, "panel off");
}

void RoomTest::questionsToAPanel()
{
    ControllerProcess controller;
    INSTALLS(controller, "device dvPanel = 10001:1:0\n"
                         "button_event [dvPanel, 1] { push: {\n"
                         "  if ([dvPanel, 8]) { send_string 5001:1:0, 'eight is on' }\n"
                         "  send_string 5001:1:0, \"'text ', button_text(dvPanel, 5, 1)\"\n"
                         "  send_string 5001:1:0, \"'width ', itoa(button_property(dvPanel, 5, 'Width'))\" } }");
    STARTS(controller);
    Panel panel(10001);
    connect(&panel.client, &LinkClient::received, &panel.client, [&](const LinkMessage &message) {
        switch (message.kind) {
        case LinkMessage::Kind::StatusQuery:
            panel.client.answerStatus(8, 1);
            break;
        case LinkMessage::Kind::TextQuery:
            panel.client.answerText(5, 1, "Lamp");
            break;
        case LinkMessage::Kind::PropertyQuery:
            panel.client.answerProperty(5, "width", "120");
            break;
        default:
            break;
        }
    });
    JOINS(panel.client, controller);
    panel.client.push(1);
    SAYS(controller, "eight is on");
    SAYS(controller, "text Lamp");
    SAYS(controller, "width 120");
}

void RoomTest::toItemsEndWithTheNextPush()
{
    ControllerProcess controller;
    INSTALLS(controller, "device dvPanel = 10001:1:0\n"
                         "button_event [dvPanel, 1] { push: { to [dvPanel, 1]; to [5001:18:0, 2] } }");
    STARTS(controller);
    Panel panel(10001);
    JOINS(panel.client, controller);
    panel.client.push(1);
    HEARS(panel, "feedback 1:1:0-0");
    SAYS(controller, "To IO 2");
    panel.client.release(1);
    HEARS(panel, "feedback 1:0:0-0");
}

void RoomTest::variablesSurviveARestart()
{
    const char source[] = "device dvPanel = 10001:1:0\n persistent integer nStarts\n"
                          "start { nStarts = nStarts + 1; send_string 5001:1:0, \"'start ', itoa(nStarts)\" }";
    ControllerProcess controller;
    INSTALLS(controller, source);
    STARTS(controller);
    SAYS(controller, "start 1");
    controller.signal(SIGKILL); // without a chance to save anything more
    QTRY_VERIFY(!controller.isRunning());
    STARTS(controller);
    SAYS(controller, "start 2");
}

TEST_CLASS(RoomTest)
#include "RoomTest.moc"
