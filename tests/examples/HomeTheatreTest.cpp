#include "ExampleRoom.h"
#include "support/Table.h"
#include "support/TestClass.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <csignal>
#include <map>
#include <memory>

/// The home theatre with its simulated devices, as a person with the panel in hand sees it.
class HomeTheatreTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void beginsAFilm_data();
    void beginsAFilm();
    void showsWhatHandsDo();
    void devicesComeBack_data();
    void devicesComeBack();
    void wrongPassword();
    void strangeAnswers();
};

namespace {
const QString kPython = QStringLiteral("/usr/bin/python3");
const QStringList kDevices{ QStringLiteral("projector"), QStringLiteral("amplifier"), QStringLiteral("house") };

/// One simulated device. Ends: killed with the object.
class Simulated
{
public:
    Simulated(const QString &name, const QString &address, const QStringList &options)
        : m_name(name)
    {
        m_arguments << QStringLiteral(EXAMPLES_DIRECTORY "/home-theatre/devices/%1.py").arg(name)
                    << QStringLiteral("--bind") << address << options;
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PYTHONDONTWRITEBYTECODE"), QStringLiteral("1")); // the source stays clean
        m_process.setProcessEnvironment(environment);
        start();
    }
    ~Simulated() { kill(); }
    Simulated(const Simulated &) = delete;
    Simulated &operator=(const Simulated &) = delete;

    void start()
    {
        m_output.clear();
        m_process.start(kPython, m_arguments);
    }
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    void signal(int number) { ::kill(static_cast<pid_t>(m_process.processId()), number); }
    bool isRunning() const { return m_process.state() == QProcess::Running; }
    int exitCode() const { return m_process.exitCode(); }
    QByteArray output() { return m_output += m_process.readAll(); }

private:
    const QString m_name;
    QStringList m_arguments;
    QProcess m_process;
    QByteArray m_output;
};

/// The three devices, their controller and a panel, on an address of their own.
struct Theatre
{
    ExampleRoom room;
    SeenPanel panel{ 10001 };
    std::map<QString, std::unique_ptr<Simulated>> devices;

    Simulated &device(const QString &name) { return *devices.at(name); }
    Simulated &projector() { return device(kDevices.at(0)); }
    Simulated &amplifier() { return device(kDevices.at(1)); }
    Simulated &house() { return device(kDevices.at(2)); }

    void startDevices(const QMap<QString, QStringList> &options)
    {
        for (const QString &name : kDevices) {
            devices[name] = std::make_unique<Simulated>(name, room.address(), options.value(name));
        }
    }

    QString prepare()
    {
        const QString address = QStringLiteral("'%1'").arg(room.address());
        const QString soon = QStringLiteral("4"); // tenths: a test does not wait as long as a person may
        const QString atOnce = QStringLiteral("1");
        const QString often = QStringLiteral("{200}"); // milliseconds
        QTcpServer free;
        free.listen(QHostAddress(QHostAddress::Any));
        const QString webPort = QString::number(free.serverPort());
        free.close();
        return room.prepare(QStringLiteral("home-theatre/home-theatre.src"),
                            { { QStringLiteral("WEB_PANEL_PORT"), webPort },
                              { QStringLiteral("PROJECTOR_ADDRESS"), address },
                              { QStringLiteral("AMPLIFIER_ADDRESS"), address },
                              { QStringLiteral("MODBUS_ADDRESS"), address },
                              { QStringLiteral("PROJECTOR_ANSWER_TENTHS"), soon },
                              { QStringLiteral("PROJECTOR_BUSY_TENTHS"), atOnce },
                              { QStringLiteral("PROJECTOR_RETRY_TENTHS"), atOnce },
                              { QStringLiteral("PROJECTOR_POLL_TIMES"), often },
                              { QStringLiteral("MODBUS_ANSWER_TENTHS"), soon },
                              { QStringLiteral("MODBUS_BUSY_TENTHS"), atOnce },
                              { QStringLiteral("MODBUS_RETRY_TENTHS"), atOnce },
                              { QStringLiteral("LIGHTS_POLL_TIMES"), often },
                              { QStringLiteral("AMP_ANSWER_TENTHS"), atOnce },
                              { QStringLiteral("AMP_POLL_TIMES"), often } });
    }
};

const QMap<QString, QStringList> kQuick{
    { QStringLiteral("projector"),
      { QStringLiteral("--warm-up"), QStringLiteral("0.1"), QStringLiteral("--cool-down"), QStringLiteral("0.1") } },
    { QStringLiteral("house"), { QStringLiteral("--travel"), QStringLiteral("0.1") } }
};
} // namespace

#define THEATRE_OPENS(theatre, options)                                                                                \
    (theatre).startDevices(options);                                                                                   \
    QCOMPARE((theatre).prepare(), QString());                                                                          \
    for (const QString &name : kDevices) {                                                                             \
        SAYS((theatre).device(name), "listens on");                                                                    \
    }                                                                                                                  \
    STARTS((theatre).room);                                                                                            \
    (theatre).panel.client.connectTo((theatre).room.address())

void HomeTheatreTest::beginsAFilm_data()
{
    // options of the projector, the amplifier and the house; what they say then
    const Table<QStringList, QStringList, QString> row("faults", "traces", "status");
    const QString ready = QStringLiteral("Film: ready");
    row("all is well", { "", "", "" }, { "shows a picture", "", "" }, ready);
    row("they are busy, and datagrams are lost", { "--busy 3", "--lose-first 8", "--busy 4" },
        { "POWER ON -> BUSY", "(lost: ", "exception 6" }, ready);
    row("connections are dropped, and every other datagram",
        { "--drop-after 4", "--lose 0.4 --seed 3", "--drop-after 3" },
        { "drops the connection", "(lost: ", "drops the connection" }, ready);
    row("the blinds are jammed", { "", "", "--jam" }, { "", "", "exception 4" }, "The blinds do not move");
}

void HomeTheatreTest::beginsAFilm()
{
    QFETCH(QStringList, faults);
    QFETCH(QStringList, traces);
    QFETCH(QString, status);
    QMap<QString, QStringList> options = kQuick;
    for (int index = 0; index < kDevices.size(); ++index) {
        options[kDevices.at(index)] += faults.at(index).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    }
    Theatre theatre;
    THEATRE_OPENS(theatre, options);
    theatre.panel.press(1); // whatever has connected by now
    SAYS(theatre.projector(), "POWER ON -> OK");
    SAYS(theatre.amplifier(), "VOLUME 45 ->");
    SAYS(theatre.house(), "lamp stairs on");
    LIGHTS(theatre.panel, 1);
    LIGHTS(theatre.panel, 34);
    QTRY_COMPARE(theatre.panel.level(1), 45);
    SHOWS(theatre.panel, status);
    for (int index = 0; index < kDevices.size(); ++index) {
        SAYS(theatre.device(kDevices.at(index)), traces.at(index).toUtf8());
    }
    const bool isJammed = status != QLatin1String("Film: ready");
    QTRY_VERIFY(theatre.panel.isLit(51) != isJammed); // the blinds are down
    QVERIFY2(!theatre.room.output().contains("Error:"), theatre.room.output().constData());
    for (const QString &name : kDevices) {
        theatre.device(name).signal(SIGTERM);
        QTRY_VERIFY(!theatre.device(name).isRunning());
        QCOMPARE(theatre.device(name).exitCode(), 0);
        QVERIFY2(!theatre.device(name).output().contains("Traceback"), theatre.device(name).output().constData());
    }
}

void HomeTheatreTest::showsWhatHandsDo()
{
    Theatre theatre;
    THEATRE_OPENS(theatre, kQuick);
    SHOWS(theatre.panel, QLatin1String("The theatre is off"));
    theatre.house().signal(SIGUSR1);
    LIGHTS(theatre.panel, 31);
    theatre.panel.press(31); // what the switch has switched on goes off
    DARKENS(theatre.panel, 31);
    theatre.amplifier().signal(SIGUSR1);
    QTRY_COMPARE(theatre.panel.level(1), 25);
    theatre.panel.press(21); // louder than the knob has made it
    QTRY_COMPARE(theatre.panel.level(1), 30);
    theatre.panel.client.reportLevel(2, 60);
    SAYS(theatre.house(), "register 1 = 60");
    theatre.panel.press(1);
    SHOWS(theatre.panel, QLatin1String("Film: ready"));
    theatre.projector().signal(SIGUSR1);
    DARKENS(theatre.panel, 1);
    SHOWS(theatre.panel,
          QLatin1String("One moment")); // the amplifier is on, and nobody switches the projector on again
    QVERIFY(theatre.projector().output().endsWith("is off\n"));
    theatre.panel.press(9);
    SHOWS(theatre.panel, QLatin1String("The theatre is off"));
}

void HomeTheatreTest::devicesComeBack_data()
{
    const Table<QString, QString, int, QByteArray> row("device", "away", "channel", "done");
    row("projector", "projector", "The projector is away", 61, "POWER ON -> OK");
    row("amplifier", "amplifier", "The amplifier is away", 62, "VOLUME 45");
    row("house", "house", "The lights are away", 63, "blinds at 100");
}

void HomeTheatreTest::devicesComeBack()
{
    QFETCH(QString, device);
    QFETCH(QString, away);
    QFETCH(int, channel);
    QFETCH(QByteArray, done);
    Theatre theatre;
    THEATRE_OPENS(theatre, kQuick);
    SHOWS(theatre.panel, QLatin1String("The theatre is off"));
    theatre.device(device).kill();
    SHOWS(theatre.panel, away);
    DARKENS(theatre.panel, channel);
    theatre.panel.press(1); // a wish that waits
    theatre.device(device).start();
    LIGHTS(theatre.panel, channel);
    SHOWS(theatre.panel, QLatin1String("Film: ready"));
    SAYS(theatre.device(device), done);

    theatre.device(device).signal(SIGSTOP); // keeps its connection and answers nothing
    SHOWS(theatre.panel, away);
    DARKENS(theatre.panel, channel);
    theatre.device(device).signal(SIGCONT);
    LIGHTS(theatre.panel, channel);
    SHOWS(theatre.panel, QLatin1String("Film: ready"));
}

void HomeTheatreTest::wrongPassword()
{
    Theatre theatre;
    THEATRE_OPENS(theatre,
                  (QMap<QString, QStringList>{
                      { QStringLiteral("projector"), { QStringLiteral("--password"), QStringLiteral("other") } } }));
    SHOWS(theatre.panel, QLatin1String("The projector refuses our password"));
    QCOMPARE(theatre.projector().output().count("wrong password"), 1); // it is not tried again at once
    theatre.panel.press(3);
    LIGHTS(theatre.panel, 3); // music needs no projector
}

/// Bytes that are no Modbus, and lines that are no answers: the program connects anew, or passes them over.
void HomeTheatreTest::strangeAnswers()
{
    Theatre theatre;
    QTcpServer house;
    QVERIFY(house.listen(QHostAddress(theatre.room.address()), 7003));
    QCOMPARE(theatre.prepare(), QString());
    const QByteArrayList answers{ "HTTP/1.1 400 Bad Request\r\n\r\n", QByteArray::fromHex("0001000000020101"),
                                  QByteArray::fromHex("000100000003010105"), QByteArray(3000, '\0') };
    STARTS(theatre.room);
    for (const QByteArray &answer : answers) {
        QTRY_VERIFY(house.hasPendingConnections());
        QTcpSocket *const peer = house.nextPendingConnection();
        QTRY_VERIFY(peer->bytesAvailable() >= 12);
        peer->write(answer);
        QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
    }
    QVERIFY2(!theatre.room.output().contains("Error:"), theatre.room.output().constData());
}

TEST_CLASS(HomeTheatreTest)
#include "HomeTheatreTest.moc"
