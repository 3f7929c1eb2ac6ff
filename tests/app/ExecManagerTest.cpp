#include "app/ExecManager.h"
#include "../devices/MonitorLines.h"
#include "app/PanelBridge.h"
#include "base/Clock.h"
#include "compiler/Compiler.h"
#include "devices/DeviceManager.h"
#include "devices/frames/FramedPorts.h"
#include "runtime/ControlProgram.h"
#include "support/Files.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QTemporaryDir>

/// Loading, starting, running and stopping a program, on a clock driven by hand.
class ExecManagerTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void withoutAFile();
    void damagedFiles_data();
    void damagedFiles();
    void startOrder();
    void mainlinePasses();
    void aWaitingMainlineStretchesThePass();
    void stopping();
    void filesOfTheEmitters();

private:
    void install(const char *source); // as the default program
    QStringList said();               // what the program has sent to its port 1, without the monitor's wording

    QString m_startDirectory = QDir::currentPath();
    std::unique_ptr<QTemporaryDir> m_directory;
    std::unique_ptr<Clock> m_clock;
    std::unique_ptr<MonitorLines> m_monitor;
    std::unique_ptr<DeviceManager> m_devices;
    std::unique_ptr<ExecManager> m_exec;
};

namespace {
void drain() // posted statements and events
{
    QCoreApplication::processEvents();
}
} // namespace

void ExecManagerTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir::setCurrent(m_directory->path()));
    m_clock = std::make_unique<Clock>(Clock::Drive::ByHand);
    m_monitor = std::make_unique<MonitorLines>();
    m_devices = std::make_unique<DeviceManager>(std::make_unique<SimulatedPorts>());
    m_exec = std::make_unique<ExecManager>(m_directory->filePath(QStringLiteral("data/here")), *m_devices);
}

void ExecManagerTest::cleanup()
{
    m_exec.reset();
    m_devices.reset();
    m_monitor.reset();
    m_clock.reset();
    QDir::setCurrent(m_startDirectory);
    m_directory.reset();
}

void ExecManagerTest::install(const char *source)
{
    const CompileResult result = compileSource(QString::fromUtf8(source));
    QVERIFY2(result.isGood(), qPrintable(result.text()));
    QVERIFY(writeFile(m_exec->objectFilePath(), result.objectFile));
}

QStringList ExecManagerTest::said()
{
    QStringList texts;
    const QString head = QStringLiteral("6 send port command: port number is 1 and sended data is ");
    for (const QString &line : m_monitor->take()) {
        if (line.startsWith(head)) {
            texts << line.mid(head.size());
        }
    }
    return texts;
}

void ExecManagerTest::withoutAFile()
{
    QVERIFY(QFileInfo::exists(m_directory->filePath(QStringLiteral("data/here")))); // made with all its parents
    QCOMPARE(m_exec->loadProgram(), ExecManager::Load::NoFile);
    QVERIFY(!m_exec->program());
    m_exec->runStart();
    m_exec->startMainline();
    m_exec->stopProgram();
    m_clock->advance(1000);
    QVERIFY(!m_exec->stopRequested());
    QCOMPARE(m_monitor->take(), QStringList());
}

void ExecManagerTest::damagedFiles_data()
{
    // flippedByte: from the end when negative; cut: bytes
    const Table<int, int> row("flippedByte", "cut");
    row("magic", 0, 0);
    row("version", 7, 0);
    row("end mark", -1, 0);
    row("cut", 100000, 1);
}

void ExecManagerTest::damagedFiles()
{
    QFETCH(int, flippedByte);
    QFETCH(int, cut);
    install("device dvPort = 5001:1:0\n start { send_string dvPort, 'started' }\n"
            "data_event [dvPort] { online: { send_string dvPort, 'online' } }\n"
            "mainline { send_string dvPort, 'main' }");
    QByteArray bytes = contentOf(m_exec->objectFilePath());
    const int index = flippedByte < 0 ? bytes.size() + flippedByte : flippedByte;
    if (index < bytes.size()) {
        bytes[index] = static_cast<char>(bytes.at(index) ^ 1);
    }
    bytes.chop(cut);
    QVERIFY(writeFile(m_exec->objectFilePath(), bytes));

    QCOMPARE(m_exec->loadProgram(), ExecManager::Load::Damaged);
    QVERIFY(m_exec->program()); // an empty one: ports come online and nobody hears of it
    m_exec->runStart();
    m_exec->startMainline();
    m_clock->advance(1000);
    drain();
    QCOMPARE(said(), QStringList());
}

void ExecManagerTest::startOrder()
{
    install("device dvPorts[] = {5001:1:0, 5001:2:0, 5001:3:0, 5001:4:0, 5001:5:0, 5001:8:0}\n"
            "device dvPort = 5001:1:0\n"
            "start { send_string dvPort, 'start' }\n"
            "data_event [dvPorts] { online: { send_string dvPort, itoa(data.device.port) } }");
    QCOMPARE(m_exec->loadProgram(), ExecManager::Load::Done);
    QCOMPARE(QDir::current().entryList({ QStringLiteral("*_temp.*") }), QStringList()); // the copy has gone
    QCOMPARE(m_monitor->take(), QStringList());
    m_exec->runStart();
    const QString sent = QStringLiteral("6 send port command: port number is 1 and sended data is ");
    QStringList expected{ sent + QStringLiteral("start") };
    for (int port = 1; port <= 4; ++port) {
        expected << QStringLiteral("3 Online Event: 5001:%1:0").arg(port) << sent + QString::number(port);
    }
    QCOMPARE(m_monitor->take(), expected);
}

void ExecManagerTest::mainlinePasses()
{
    install("device dvPort = 5001:1:0\n device dvPanel = 10001:1:0\n integer n\n"
            "mainline { n = n + 1; send_string dvPort, \"'pass ', itoa(n)\" }\n"
            "button_event [dvPanel, 5] { push: { send_string dvPort, 'push' } }\n"
            "level_event [dvPanel, 2] { send_string dvPort, 'level' }");
    m_exec->loadProgram();
    m_exec->startMainline();
    m_clock->advance(99);
    drain();
    QCOMPARE(said(), QStringList());
    m_clock->advance(1);
    QCOMPARE(said(), QStringList()); // posted, not run
    drain();
    QCOMPARE(said(), QStringList{ QStringLiteral("pass 1") });

    // Ticks that find statements pending start no new pass.
    m_clock->advance(300);
    drain();
    QCOMPARE(said(), QStringList{ QStringLiteral("pass 2") });

    // Panels that have reported already are heard before the next statement.
    PanelBridge panels(*m_devices);
    panels.setProgram(m_exec->program());
    m_clock->advance(100);
    panels.buttonPressed(10001, 5, nullptr);
    panels.levelChanged(10001, 2, 7, nullptr);
    drain();
    QCOMPARE(said(), (QStringList{ QStringLiteral("push"), QStringLiteral("level"), QStringLiteral("pass 3") }));
    panels.setProgram(nullptr);
}

void ExecManagerTest::aWaitingMainlineStretchesThePass()
{
    // The second statement asks another controller that does not answer. Ticks of the mainline that fall into the wait
    // start nothing, also when the third statement has run meanwhile.
    struct SilentController : ControllerLink
    {
        std::function<void()> onQuery;
        void setupPort(const DeviceAddress &, int, int) override {}
        void sendListenString(const DeviceAddress &, const QByteArray &) override {}
        void sendListenCommand(const DeviceAddress &, const QByteArray &) override {}
        void queryDeviceState(const DeviceAddress &, int) override { onQuery(); }
        void cancelToItem() override {}
    } silent;
    silent.onQuery = [this] { QTimer::singleShot(0, m_exec.get(), [this] { m_clock->advance(100); }); };
    m_devices->setControllerLink(&silent);
    install("device dvPort = 5001:1:0\n"
            "mainline { send_string dvPort, 'a'\n if ([5001:18:2, 1]) { send_string dvPort, 'on' }\n"
            "           send_string dvPort, 'c' }");
    m_exec->loadProgram();
    m_exec->startMainline();
    m_clock->advance(100);
    drain();
    drain();
    QCOMPARE(said().join(QLatin1Char(' ')), QStringLiteral("a c"));
    m_clock->advance(100);
    drain();
    QCOMPARE(said().value(0), QStringLiteral("a"));
}

void ExecManagerTest::stopping()
{
    install("device dvPort = 5001:1:0\n mainline { send_string dvPort, 'pass' }");
    m_exec->loadProgram();
    m_exec->startMainline();
    m_clock->advance(100);
    m_exec->stopProgram();
    QVERIFY(m_exec->stopRequested());
    drain();
    m_clock->advance(1000);
    drain();
    QCOMPARE(said(), QStringList()); // the posted statement was taken back

    m_exec->unloadProgram();
    QVERIFY(!m_exec->program());
    m_exec->loadProgram();
    QVERIFY(!m_exec->stopRequested()); // a stop concerns the program that ran then
}

void ExecManagerTest::filesOfTheEmitters()
{
    QVERIFY(m_exec->irFilePath(10).endsWith(QStringLiteral("/data/here/ir1.ir")));
    QVERIFY(m_exec->irFilePath(17).endsWith(QStringLiteral("/data/here/ir8.ir")));
    QCOMPARE(m_exec->irFilePath(9), QString());
    QCOMPARE(m_exec->irFilePath(18), QString());
}

TEST_CLASS(ExecManagerTest)
#include "ExecManagerTest.moc"
