#include "devices/DeviceManager.h"
#include "MonitorLines.h"
#include "base/Clock.h"
#include "base/SystemNumber.h"
#include "devices/AnswerLoop.h"
#include "devices/frames/FramedPorts.h"
#include "events/Dispatcher.h"
#include "interp/Interpreter.h"
#include "interp/LevelAssocManager.h"
#include "program/AST.h"
#include "support/Spoken.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QTemporaryDir>
#include <QTimer>

namespace {
using Question = PanelQuestion::Kind;

/// Records every call as a line.
struct RecordingLinks : PanelLink, ControllerLink, SocketOutputs
{
    using Address = DeviceAddress;
    using Codes = QVector<qint64>;
    QStringList calls;
    std::function<void()> onQuery; // while a question goes out
    int socketPort = -1;

    template <class... Parts>
    void note(const Parts &...parts)
    {
        calls << spoken(parts...);
    }
    template <class... Parts>
    void ask(const Parts &...parts)
    {
        note(parts...);
        if (onQuery) {
            onQuery();
        }
    }

    void askPanel(int device, const PanelQuestion &question) override { ask(spoken(device, question)); }
    void setOnPanel(int, const PanelSetting &) override {}
    void setButtonStatusRange(int device, int channel, int status, int first, int last) override
    {
        note("range", device, channel, status, QStringLiteral("%1-%2").arg(first).arg(last));
    }
    void setButtonStatuses(int device, const Codes &channels, const Codes &values) override
    {
        note("plain", device, channels, values);
    }
    void setButtonStatusList(int device, int channel, int status, const QVector<int> &channels) override
    {
        note("list", device, channel, status, channels);
    }
    void sendLevel(int device, int code, int value) override { note("level", device, code, value); }
    void sendLevels(int device, const Codes &codes, const Codes &values) override
    {
        note("levels", device, codes, values);
    }
    void sendCommand(int device, const QByteArray &data) override { note("command", device, data); }

    void setupPort(const Address &device, int channel, int action) override { note("setup", device, channel, action); }
    void sendListenString(const Address &device, const QByteArray &data) override
    {
        note("listen string", device, data.toHex());
    }
    void sendListenCommand(const Address &device, const QByteArray &data) override
    {
        note("listen command", device, data);
    }
    void queryDeviceState(const Address &device, int channel) override { ask("state", device, channel); }
    void cancelToItem() override { note("cancel"); }

    bool write(int port, const QByteArray &data) override
    {
        if (port == socketPort) {
            note("socket", port, data);
        }
        return port == socketPort;
    }
};

/// One contact is closed before anybody has been told so.
struct AskedPorts : SimulatedPorts
{
    int first = 0;
    std::optional<bool> ioState(int number) const override
    {
        return number == first ? std::optional(true) : std::nullopt;
    }
};
} // namespace

Q_DECLARE_METATYPE(DeviceAddress)

class DeviceManagerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void switching_data();
    void switching();
    void data_data();
    void data();
    void levels();
    void levelHandlingSeesTheProgram();
    void buttonStatus();
    void remoteTexts_data();
    void remoteTexts();
    void panelQuestions();
    void propertyQuestions();
    void portQuestions();
    void nestedQuestions();
    void questionsOfAStoppedProgram();

private:
    QStringList frames() const;
    bool isOn(int device, int channel)
    {
        return m_devices->askPanel(device, { Question::Status, channel }).toInt() != 0;
    }
    void advanceInside(int ms); // once the question waits

    QTemporaryDir m_directory;
    std::unique_ptr<Clock> m_clock;
    std::unique_ptr<MonitorLines> m_monitor;
    std::unique_ptr<AST> m_program;
    std::unique_ptr<ProgramState> m_state;
    std::unique_ptr<Interpreter> m_interpreter;
    std::unique_ptr<Dispatcher> m_dispatcher;
    std::unique_ptr<DeviceManager> m_devices;
    AskedPorts *m_hardware = nullptr;
    RecordingLinks m_links;
};

void DeviceManagerTest::init()
{
    setLocalSystemNumber(1);
    m_clock = std::make_unique<Clock>(Clock::Drive::ByHand);
    m_monitor = std::make_unique<MonitorLines>();
    m_program = std::make_unique<AST>();
    m_state = std::make_unique<ProgramState>(*m_program, m_directory.path());
    m_interpreter = std::make_unique<Interpreter>(*m_state);
    m_dispatcher = std::make_unique<Dispatcher>(*m_interpreter);
    m_dispatcher->prepare();
    auto hardware = std::make_unique<AskedPorts>();
    m_hardware = hardware.get();
    m_devices = std::make_unique<DeviceManager>(std::move(hardware));
    m_links = {};
    m_devices->setPanelLink(&m_links);
    m_devices->setControllerLink(&m_links);
    m_devices->setSocketOutputs(&m_links);
    m_devices->setProgram(m_state.get(), m_dispatcher.get());
    m_state->setDevices(m_devices.get());
}

void DeviceManagerTest::cleanup()
{
    m_dispatcher.reset();
    m_interpreter.reset();
    m_state.reset();
    m_program.reset();
    m_devices.reset();
    m_monitor.reset();
    m_clock.reset();
}

QStringList DeviceManagerTest::frames() const
{
    QStringList written;
    for (const QByteArray &frame : m_hardware->frames()) {
        written << QStringLiteral("frame ") + QString::fromLatin1(frame.toHex());
    }
    return written;
}

void DeviceManagerTest::advanceInside(int ms)
{
    QTimer::singleShot(0, m_devices.get(), [this, ms] { m_clock->advance(ms); });
}

void DeviceManagerTest::switching_data()
{
    const Table<int, int, int, int, QStringList, QStringList> row("number", "port", "system", "action", "calls",
                                                                  "lines");
    const QString wrongPort = QStringLiteral("5 Warning: Wrong port number was referred.");
    const QString low = QStringLiteral("frame 1803000001");
    const QString high = QStringLiteral("frame 1803000000");
    row("relay off", 5001, 9, 0, 0, { "frame 160300" }, { "11 Off relay: 3" });
    row("relay on", 5001, 9, 1, 1, { "frame 160301" }, { "10 On relay: 3" });
    row("relay pulse", 5001, 9, 0, 2, {}, { wrongPort, "9 Pulse relay: 3" });
    row("relay to", 5001, 9, 0, 3, {}, { wrongPort, "12 To relay: 3" });
    row("io off", 5001, 18, 0, 0, { high }, { "11 IO 3 output high" });
    row("io on", 5001, 18, 0, 1, { low }, { "10 IO 3 output low" });
    row("io pulse", 5001, 18, 0, 2, { low }, { "9 Pulse IO 3" });
    row("io to", 5001, 18, 0, 3, { low }, { "12 To IO 3" });
    row("ir on, no output", 5001, 15, 0, 1, {}, { wrongPort, "10 IR6 output ir code 3" });
    row("ir off", 5001, 10, 0, 0, {}, { "11 IR1 output ir code 3" });
    row("ir pulse", 5001, 10, 0, 2, {}, { "9 IR1 pulse ir code 3" });
    row("ir to", 5001, 17, 0, 3, {}, { wrongPort, "12 IR8 to ir code 3" });
    row("serial port", 5001, 1, 0, 1, {}, { wrongPort });
    row("action that does not exist", 5001, 18, 0, 4, {}, {});
    row("remote relay", 5001, 9, 2, 1, { "setup 5001:9:2 3 1" }, { "10 [5001:9:2]On relay: 3" });
    row("remote relay off", 5001, 9, 2, 0, { "setup 5001:9:2 3 0" }, { "11 [5001:9:2]Off relay: 3" });
    row("remote io", 5001, 18, 2, 2, { "setup 5001:18:2 3 2" }, { "9 [5001:18:2]Pulse IO 3" });
    row("remote ir", 5001, 11, 2, 3, { "setup 5001:11:2 3 3" }, { "12 [5001:11:2]IR2 to ir code 3" });
    row("remote panel, no line", 10001, 9, 2, 1, { "setup 10001:9:2 3 1" }, {});
}

void DeviceManagerTest::switching()
{
    QFETCH(int, number);
    QFETCH(int, port);
    QFETCH(int, system);
    QFETCH(int, action);
    QFETCH(QStringList, calls);
    QFETCH(QStringList, lines);
    m_devices->switchChannel({ number, port, system }, static_cast<PortAction>(action), 3);
    QCOMPARE(frames() + m_links.calls, calls);
    QCOMPARE(m_monitor->take(), lines);
}

void DeviceManagerTest::data_data()
{
    const Table<bool, DeviceAddress, QByteArray, QStringList, QStringList> row("isCommand", "device", "bytes", "calls",
                                                                               "lines");
    row("string to another controller", false, { 5001, 1, 2 }, "AB\r", { "listen string 5001:1:2 41420d" },
        { "6 [5001:1:2]send port command: 41 42 0D" });
    row("string to a port", false, { 5001, 1, 1 }, "50%1", { "frame 15010135302531" },
        { "6 send port command: port number is 1 and sended data is 50%1" });
    row("string to a panel goes nowhere", false, { 10001, 1, 0 }, "x", {},
        { "6 send port command: port number is 1 and sended data is x" });
    row("string to a socket", false, { 0, 3, 0 }, "x", { "socket 3 x" },
        { "6 send socket command: port number is 3 and sended data is x" });
    row("string to a socket that is not open", false, { 0, 4, 0 }, "x", {}, {});
    row("string to a socket elsewhere", false, { 0, 3, 2 }, "x", {}, {});
    row("command to a panel", true, { 10001, 1, 0 }, "go", { "command 10001 go" },
        { "7 send device command: device id is 10001, port number is 1 and sended data is go" });
    row("command to a port", true, { 5001, 2, 0 }, "set baud 9600,n,8,1 485 disable", { "frame 150200010000002580" },
        { "7 send device command: device id is 5001, port number is 2 and sended data is "
          "set baud 9600,n,8,1 485 disable" });
    row("command to another controller", true, { 10001, 1, 2 }, "go", { "listen command 10001:1:2 go" },
        { "6 [10001:1:2]send device command: go" });
    row("empty command", true, { 10001, 1, 0 }, "", {}, {});
}

void DeviceManagerTest::data()
{
    QFETCH(bool, isCommand);
    QFETCH(DeviceAddress, device);
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, calls);
    QFETCH(QStringList, lines);
    m_links.socketPort = 3;
    if (isCommand) {
        m_devices->sendDeviceCommand(device, bytes, DeviceActions::Log::Yes);
    } else {
        m_devices->sendPortString(device, bytes);
    }
    QCOMPARE(frames() + m_links.calls, calls);
    QCOMPARE(m_monitor->take(), lines);
}

void DeviceManagerTest::levels()
{
    // A level is handled only when its code and its value both differ from those of the last one of the same path.
    QStringList handled;
    m_dispatcher->observer = [&](const CustomEvent &event) {
        handled << QStringLiteral("%1:%2").arg(event.levelCode).arg(event.levelValue);
    };
    m_devices->setLevel({ 10001, 1, 0 }, 2, 40);
    m_devices->setLevel({ 10001, 1, 0 }, 2, 41);
    m_devices->setLevel({ 10001, 1, 0 }, 3, 40);
    m_devices->setLevel({ 10001, 1, 0 }, 3, 42);
    m_devices->setLevel({ 10001, 1, 2 }, 9, 9); // elsewhere
    QCOMPARE(handled.join(QLatin1Char(' ')), QStringLiteral("2:40 3:42"));
    QCOMPARE(m_links.calls.size(), 4);
    QCOMPARE(m_monitor->take().last(),
             QStringLiteral("8 set level value: device ID is 10001, level code is 3 and level value is 42"));

    handled.clear();
    m_links.calls.clear();
    m_devices->setLevels({ 10001, 1, 0 }, { 3, 4, 5 }, { 42, 7 }); // a memory of its own; a missing value is 0
    QCOMPARE(handled.join(QLatin1Char(' ')), QStringLiteral("3:42 4:7 5:0"));
    QCOMPARE(m_links.calls, QStringList{ QStringLiteral("levels 10001 3,4,5 42,7") });
    m_links.calls.clear();
    m_devices->setLevels({ 10001, 1, 0 }, { 6 }, { 1 }); // one of each: as a single level
    QCOMPARE(m_links.calls, QStringList{ QStringLiteral("level 10001 6 1") });
}

void DeviceManagerTest::levelHandlingSeesTheProgram()
{
    auto variable = std::make_unique<Double>(DoubleType);
    variable->setName(Name(QStringLiteral("X")));
    Double *const x = variable.get();
    m_program->declareGlobal(std::move(variable));
    m_state->levels().addAssociation({ { 10001, 1, 0 }, 2, QStringLiteral("X") });
    x->setValue(2.5);
    QCOMPARE(m_links.calls, QStringList{ QStringLiteral("level 10001 2 2") });
    QCOMPARE(x->value(), 2.0); // the level has come back
    m_links.calls.clear();
    m_dispatcher->changeLevel(10001, 2, 55);
    QCOMPARE(x->value(), 55.0);
    QCOMPARE(m_links.calls, QStringList()); // without an echo
}

void DeviceManagerTest::buttonStatus()
{
    m_devices->setButtonStatusRange(10001, 4, 1, 1, 10);
    m_devices->setButtonStatusList(10001, 5, 1, { 3, 5, 7 });
    m_devices->setButtonStatuses(10001, { 8, 9 }, { 1 });
    QCOMPARE(m_links.calls,
             (QStringList{ QStringLiteral("range 10001 4 1 1-10"), QStringLiteral("list 10001 5 1 3,5,7"),
                           QStringLiteral("plain 10001 8,9 1") }));
    const ButtonStatusSaver *saver = m_dispatcher->findButtonStatus(10001);
    QVERIFY(saver);
    const QByteArray snapshot = QByteArray::fromHex("00000001 00000004"
                                                    "00000001 00000004 00000001 00000001 0000000a"
                                                    "00000002 00000005 00000001 00000003 00000003 00000005 00000007"
                                                    "00000000 00000008 00000001 00000000 00000000"
                                                    "00000000 00000009 00000000 00000000 00000000");
    QCOMPARE(saver->snapshot().toHex(), snapshot.toHex());
}

void DeviceManagerTest::remoteTexts_data()
{
    const Table<QByteArray, QByteArray, QStringList> row("form", "text", "effects");
    row("setup 5001:18:1:3:1", "setup", "5001:18:1:3:1", { "frame 1803000001" });
    row("setup 5001:18:0:3:1", "setup", "5001:18:0:3:1", {}); // 0 is not a number that a message may carry
    row("setup 5001:18:2:3:1", "setup", "5001:18:2:3:1", {});
    row("command 10001:1:1:a:b", "command", "10001:1:1:a:b", { "command 10001 a:b" });
    row("command 10001:1:2:ab", "command", "10001:1:2:ab", {});
    row("string 5001:1:1::", "string", "5001:1:1::", { "frame 1501013a" });
    row("string 5001:1:1", "string", "5001:1:1", {});
    row("query 5001:18:1:4", "query", "5001:18:1:4", { "status 0 18 4 0" });
    row("query 5001:18:2:4", "query", "5001:18:2:4", {});
}

void DeviceManagerTest::remoteTexts()
{
    QFETCH(QByteArray, form);
    QFETCH(QByteArray, text);
    QFETCH(QStringList, effects);
    connect(m_devices.get(), &DeviceManager::gotPortStatus, this,
            [this](int system, int port, int channel, int status) {
                m_links.note("status", system, port, channel, status);
            });
    if (form == "setup") {
        m_devices->performSetup(text);
    } else if (form == "command") {
        m_devices->performCommand(text);
    } else if (form == "string") {
        m_devices->performString(text);
    } else {
        m_devices->performQuery(text);
    }
    QCOMPARE(frames() + m_links.calls, effects);
}

void DeviceManagerTest::panelQuestions()
{
    m_links.onQuery = [this] {
        m_devices->panelAnswered(10002, { Question::Status, 4 }, 1); // of another panel
        m_devices->panelAnswered(10001, { Question::Status, 5 }, 1); // of another channel
        m_devices->panelAnswered(10001, { Question::Status, 4 }, 1);
        m_devices->panelAnswered(10001, { Question::Status, 4 }, 0); // too late
    };
    QVERIFY(isOn(10001, 4)); // answered at once: no event loop

    m_links.calls.clear();
    m_links.onQuery = [this] { advanceInside(600); };
    QVERIFY(!isOn(10001, 4));
    QCOMPARE(m_links.calls.size(), 7); // at once and six times again

    m_links.calls.clear();
    m_links.onQuery = [this] {
        if (m_links.calls.size() == 1) {
            advanceInside(100);
        } else {
            m_devices->panelAnswered(10001, { Question::Status, 4 }, 2);
        }
    };
    QVERIFY(isOn(10001, 4));
    QCOMPARE(m_links.calls.size(), 2);
}

void DeviceManagerTest::propertyQuestions()
{
    // Every kind of question: answers that differ in one field from what was asked do not count.
    m_links.onQuery = [this] {
        m_devices->panelAnswered(10001, { Question::Text, 4, 2 }, QByteArray("wrong state"));
        m_devices->panelAnswered(10001, { Question::Text, 5, 1 }, QByteArray("wrong channel"));
        m_devices->panelAnswered(10001, { Question::Text, 4, 1 }, QByteArray(""));
        m_devices->panelAnswered(10001, { Question::Text, 4, 1 }, QByteArray("late"));
    };
    QCOMPARE(m_devices->askPanel(10001, { Question::Text, 4, 1 }), QVariant(QByteArray("")));
    m_links.onQuery = [this] {
        m_devices->panelAnswered(10001, { Question::ButtonProperty, 4, 0, "width" }, 1);
        m_devices->panelAnswered(10002, { Question::ButtonProperty, 4, 0, "height" }, 2);
        m_devices->panelAnswered(10001, { Question::ButtonProperty, 4, 0, "height" }, 3);
    };
    QCOMPARE(m_devices->askPanel(10001, { Question::ButtonProperty, 4, 0, "height" }), QVariant(3));
    m_links.onQuery = [this] {
        m_devices->panelAnswered(10001, { Question::ButtonProperty, 4, 0, "text" }, QByteArray("of the button"));
        m_devices->panelAnswered(10001, { Question::StateProperty, 4, 2, "text" }, QByteArray("wrong state"));
        m_devices->panelAnswered(10001, { Question::StateProperty, 4, 1, "text" }, QByteArray("right"));
    };
    QCOMPARE(m_devices->askPanel(10001, { Question::StateProperty, 4, 1, "text" }), QVariant(QByteArray("right")));
    m_links.onQuery = [this] {
        m_devices->panelAnswered(10001, { Question::PageProperty, 0, 0, "width", "main" }, 5);
        m_devices->panelAnswered(10001, { Question::PageProperty, 0, 0, "width", "Main" }, 6);
    };
    QCOMPARE(m_devices->askPanel(10001, { Question::PageProperty, 0, 0, "width", "Main" }), QVariant(6));

    m_links.calls.clear();
    m_links.onQuery = [this] { advanceInside(600); };
    QVERIFY(!m_devices->askPanel(10001, { Question::Text, 4, 1 }).isValid());
    QVERIFY(!m_devices->askPanel(10001, { Question::PageProperty, 0, 0, "width", "Main" }).isValid());
    QCOMPARE(m_links.calls.count(QStringLiteral("text? 10001 4 1")), 7);
    QCOMPARE(m_links.calls.count(QStringLiteral("page? 10001 Main width")), 7);
}

void DeviceManagerTest::portQuestions()
{
    m_devices->switchChannel({ 5001, 9, 0 }, PortAction::On, 3);
    QVERIFY(m_devices->askPortChannel({ 5001, 9, 1 }, 3));
    QVERIFY(!m_devices->askPortChannel({ 5001, 18, 0 }, 3));
    m_hardware->ioChanged(3, true);
    QVERIFY(m_devices->askPortChannel({ 5001, 18, 0 }, 3));
    m_hardware->first = 4; // closed from the start: the program is asked before it is told
    QVERIFY(m_devices->askPortChannel({ 5001, 18, 1 }, 4));

    m_links.onQuery = [this] { m_devices->gotPortStatus(2, 18, 3, 1); };
    QVERIFY(m_devices->askPortChannel({ 5001, 18, 2 }, 3));
    m_links.onQuery = [this] { advanceInside(400); };
    m_links.calls.clear();
    QVERIFY(!m_devices->askPortChannel({ 5001, 18, 2 }, 3));
    QCOMPARE(m_links.calls.size(), 5);
}

void DeviceManagerTest::nestedQuestions()
{
    // While the first question waits, an event asks a second one; the first one's answer comes during the second.
    bool inner = true;
    m_links.onQuery = [&] {
        if (m_links.calls.size() == 1) {
            QTimer::singleShot(0, m_devices.get(), [&] { inner = isOn(10002, 1); });
        } else if (m_links.calls.size() == 2) {
            m_devices->panelAnswered(10001, { Question::Status, 1 }, 1);
            advanceInside(600);
        }
    };
    QVERIFY(isOn(10001, 1));
    QVERIFY(!inner);
    QCOMPARE(m_links.calls.count(QStringLiteral("status? 10001 1")), 1); // an answered question is not asked again
    QCOMPARE(m_links.calls.count(QStringLiteral("status? 10002 1")), 7);
}

void DeviceManagerTest::questionsOfAStoppedProgram()
{
    m_links.onQuery = [this] {
        m_state->requestStop();
        advanceInside(100);
    };
    QVERIFY(!isOn(10001, 1));
    QCOMPARE(m_links.calls.size(), 1);
    m_links.calls.clear();
    QVERIFY(!isOn(10001, 1));
    QCOMPARE(m_links.calls, QStringList()); // a stopped program asks nothing

    // A question for a program that vanishes meanwhile is over.
    int asked = 0;
    auto passing = std::make_unique<QTemporaryDir>();
    auto other = std::make_unique<Clock>(Clock::Drive::ByHand); // the ticks of the question alone
    m_dispatcher.reset();
    m_interpreter.reset();
    m_state.reset();
    auto program = std::make_unique<ProgramState>(*m_program, passing->path());
    AnswerLoop loop(program.get(), 6);
    const QVariant answer = loop.run([&] {
        ++asked;
        QTimer::singleShot(0, this, [&] {
            program.reset();
            other->advance(100);
        });
    });
    QCOMPARE(asked, 1);
    QVERIFY(!answer.isValid());
}

TEST_CLASS(DeviceManagerTest)
#include "DeviceManagerTest.moc"
