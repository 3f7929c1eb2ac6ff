#include "ExampleRoom.h"
#include "support/Files.h"
#include "support/TestClass.h"

#include <QUdpSocket>

#include <csignal>

/// Hall and booth: what a push at one end does at the other, and what both do when they cannot reach each other.
class LectureHallTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pushesCrossTheLink();
    void deskAndLock();
    void boothIsCutOff();
    void linkIsCut();
    void hallRestartsInMidLecture();
    void closingTime();
};

namespace {
quint16 freeUdpPort()
{
    QUdpSocket socket;
    socket.bind();
    return socket.localPort();
}

/// Two controllers that listen to each other, each with its panel.
struct House
{
    ExampleRoom hall;
    ExampleRoom booth;
    SeenPanel lectern{ 10001 };
    SeenPanel operators{ 10021 };

    QString prepare()
    {
        const quint16 hallPort = freeUdpPort();
        quint16 boothPort = freeUdpPort();
        while (boothPort == hallPort) {
            boothPort = freeUdpPort();
        }
        const QString problem = prepare(hall, QStringLiteral("hall"), hallPort, boothPort) +
                                prepare(booth, QStringLiteral("booth"), boothPort, hallPort);
        link(hall, 1, booth.address());
        link(booth, 2, hall.address());
        return problem;
    }

    /// The projector's port in the booth: what it was sent, as monitor lines show it.
    static QByteArray sent(const QByteArray &text) { return text.toHex(' ').toUpper(); }

private:
    static QString prepare(ExampleRoom &room, const QString &program, quint16 ownPort, quint16 otherPort)
    {
        // Short, but long enough that a busy machine neither keeps silent so long nor misses a text.
        ExampleRoom::Constants constants{ { QStringLiteral("OWN_TALK_PORT"), QString::number(ownPort) },
                                          { QStringLiteral("OTHER_TALK_PORT"), QString::number(otherPort) },
                                          { QStringLiteral("TALK_TIMES"), QStringLiteral("{200}") },
                                          { QStringLiteral("SILENCE_TENTHS"), QStringLiteral("30") },
                                          { QStringLiteral("CLOSING_TIMES"), QStringLiteral("{0, 3000, 6000}") } };
        return room.prepare(QStringLiteral("lecture-hall/%1.src").arg(program), constants);
    }

    static void link(ExampleRoom &room, int system, const QString &other)
    {
        writeFile(room.filePath(QStringLiteral("settings.ini")),
                  QStringLiteral("[General]\nsystemNum=%1\nlisten=%2\n").arg(system).arg(other).toLatin1());
    }
};

int manage(const ExampleRoom &room, const QStringList &command)
{
    return QProcess::execute(QStringLiteral(ARKCTL_PROGRAM),
                             QStringList{ QStringLiteral("--host"), room.address() } + command);
}

const auto kFree = QLatin1String("The hall is free");
const auto kSlides = QLatin1String("Lecture: Slides");
const auto kFilm = QLatin1String("Lecture: Film");
const auto kNoBooth = QLatin1String("The booth cannot be reached: no projector, blinds, recorder");
} // namespace

#define HALL_OPENS(house)                                                                                              \
    QCOMPARE((house).prepare(), QString());                                                                            \
    STARTS((house).hall);                                                                                              \
    STARTS((house).booth);                                                                                             \
    SAYS((house).hall, "Online Event: 5001:4:2");                                                                      \
    SAYS((house).booth, "Online Event: 5001:4:1");                                                                     \
    (house).lectern.client.connectTo((house).hall.address());                                                          \
    (house).operators.client.connectTo((house).booth.address());                                                       \
    SHOWS((house).lectern, kFree);                                                                                     \
    LIGHTS((house).lectern, 61);                                                                                       \
    LIGHTS((house).operators, 61)

void LectureHallTest::pushesCrossTheLink()
{
    House house;
    HALL_OPENS(house);
    house.lectern.press(1);
    SHOWS(house.lectern, kSlides);
    SAYS(house.booth, "On relay: 3");
    SAYS(house.booth, House::sent("POWR 1\rINPT 1\r"));
    LIGHTS(house.operators, 62);
    house.lectern.press(12);
    SHOWS(house.lectern, kFilm);
    LIGHTS(house.operators, 21); // the blinds, as the booth sees its relay
    SAYS(house.booth, House::sent("INPT 2\r"));
    QTRY_COMPARE(house.operators.level(1), 65);
    house.lectern.press(31);
    SAYS(house.booth, House::sent("REC START\r"));

    house.operators.client.reportLevel(1, 33); // and the other way
    SAYS(house.hall, House::sent("VOL 33\r"));
    QTRY_COMPARE(house.lectern.level(1), 33);
    house.operators.press(31);
    SAYS(house.hall, "On relay: 4");
    LIGHTS(house.lectern, 63);
    SHOWS(house.lectern, QLatin1String("Please leave the hall"));
    house.operators.press(31);
    SHOWS(house.lectern, kFilm);
    house.lectern.press(2);
    SHOWS(house.lectern, kFree);
    SAYS(house.booth, House::sent("REC STOP\r"));
    DARKENS(house.operators, 21);

    SAYS(house.hall, "On relay: 3"); // the partition's contact was open when it was asked for
    const QStringList contact{ QStringLiteral("ports"), QStringLiteral("input"), QStringLiteral("io1") };
    QCOMPARE(manage(house.hall, contact + QStringList{ QStringLiteral("on") }), 0);
    LIGHTS(house.lectern, 64);
    SAYS(house.hall, "Off relay: 3");
    QCOMPARE(manage(house.hall, contact + QStringList{ QStringLiteral("off") }), 0);
    DARKENS(house.lectern, 64);
}

void LectureHallTest::deskAndLock()
{
    House house;
    HALL_OPENS(house);
    house.lectern.press(1);
    SHOWS(house.lectern, kSlides);
    house.operators.press(21); // without the desk: nothing
    house.operators.press(1);
    SHOWS(house.lectern, QLatin1String("The booth has the desk"));
    house.operators.press(21);
    LIGHTS(house.operators, 21);
    QCOMPARE(house.booth.output().count("On relay: 2"), 1);
    house.lectern.press(2);
    house.lectern.press(13);
    house.lectern.press(21); // the voice is never locked
    SAYS(house.hall, House::sent("VOL 45\r"));
    QVERIFY(house.lectern.isLit(1) && house.lectern.isLit(11));
    house.operators.press(1);
    SHOWS(house.lectern, kSlides);
    house.operators.press(42);
    SAYS(house.hall, "setclosing=1335");
    QVERIFY(house.operators.isLit(21)); // given back, and nothing has jumped
    house.lectern.press(12);
    SHOWS(house.lectern, kFilm);
}

void LectureHallTest::boothIsCutOff()
{
    House house;
    HALL_OPENS(house);
    house.operators.press(1);
    SHOWS(house.lectern, QLatin1String("The booth has the desk"));
    house.booth.signal(SIGSTOP); // silent, as behind a cable that was pulled out
    DARKENS(house.lectern, 61);
    SHOWS(house.lectern, kNoBooth);
    house.lectern.press(1); // the desk is free, and the lecture begins without the booth
    LIGHTS(house.lectern, 1);
    SAYS(house.hall, "On relay: 1");
    house.booth.signal(SIGCONT);
    SHOWS(house.lectern, QLatin1String("The booth has the desk"));
    house.operators.press(1);
    SHOWS(house.lectern, kSlides);

    house.booth.signal(SIGKILL);
    QTRY_VERIFY(!house.booth.isRunning());
    SHOWS(house.lectern, kNoBooth);
    house.lectern.press(12);
    LIGHTS(house.lectern, 12);
    STARTS(house.booth);
    SHOWS(house.lectern, kFilm);
    SAYS(house.booth, "On relay: 2");
    SAYS(house.booth, House::sent("INPT 2\r"));
}

/// The programs hear each other, but what the hall does with the booth's ports gets lost.
void LectureHallTest::linkIsCut()
{
    House house;
    HALL_OPENS(house);
    QCOMPARE(manage(house.hall, { QStringLiteral("listen"), QStringLiteral("remove"), house.booth.address() }), 0);
    house.lectern.press(1);
    SHOWS(house.lectern, QLatin1String("The booth does not follow: is the link cut?"));
    QVERIFY(!house.booth.output().contains("On relay: 3"));
    QCOMPARE(manage(house.hall, { QStringLiteral("listen"), QStringLiteral("add"), house.booth.address() }), 0);
    SHOWS(house.lectern, kSlides);
    SAYS(house.booth, "On relay: 3");
}

void LectureHallTest::hallRestartsInMidLecture()
{
    House house;
    HALL_OPENS(house);
    house.lectern.press(1);
    house.lectern.press(12);
    LIGHTS(house.operators, 21);
    house.booth.forgetOutput();
    house.hall.signal(SIGKILL);
    DARKENS(house.operators, 61);
    QTRY_VERIFY(!house.hall.isRunning());
    house.operators.press(21); // nobody else could
    DARKENS(house.operators, 21);
    QVERIFY(!house.booth.output().contains("Off relay: 3")); // the film goes on
    house.booth.forgetOutput();
    STARTS(house.hall);
    house.lectern.client.connectTo(house.hall.address());
    SHOWS(house.lectern, kFilm);
    LIGHTS(house.operators, 21); // as the lecture wants it
    QVERIFY(!house.booth.output().contains("Off relay"));
}

void LectureHallTest::closingTime()
{
    House house;
    HALL_OPENS(house);
    house.lectern.press(1);
    SHOWS(house.lectern, kSlides);
    house.lectern.press(42);
    SHOWS(house.lectern, QLatin1String("The hall closes soon: push Stay to go on"));
    house.lectern.press(41);
    SHOWS(house.lectern, kSlides);
    house.lectern.press(42);
    SHOWS(house.lectern, QLatin1String("The hall closes now"));
    SHOWS(house.lectern, kFree);
    QVERIFY2(house.operators.texts().contains(QLatin1String("The hall closes now")),
             qPrintable(house.operators.texts().join(QLatin1Char('\n'))));
    SAYS(house.booth, "Off relay: 3");
}

TEST_CLASS(LectureHallTest)
#include "LectureHallTest.moc"
