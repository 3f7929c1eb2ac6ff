#include "ExampleRoom.h"
#include "support/Files.h"
#include "support/TestClass.h"

#include <QProcess>

/// The boardroom with its simulated projector on a serial line, which is pulled and plugged again.
class BoardroomTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void projectorAnswers();
};

namespace {
/// projector.py, at a name of its own in the room's folder.
class Projector
{
public:
    explicit Projector(const ExampleRoom &room)
        : m_file(room.filePath(QStringLiteral("projector")))
    {
        plug();
    }
    ~Projector() { pull(); }

    QString file() const { return m_file; }
    void plug()
    {
        m_process.start(QStringLiteral("python3"),
                        { QStringLiteral(EXAMPLES_DIRECTORY "/boardroom/projector.py"), m_file });
    }
    void pull()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    /// Everything that it has said.
    QByteArray said()
    {
        m_said += m_process.readAllStandardOutput();
        return m_said;
    }

private:
    const QString m_file;
    QProcess m_process;
    QByteArray m_said;
};

const QByteArray kIsOff = "[5001:1:0]got port data: " + QByteArray("POWR=0\r").toHex(' ').toUpper();
const QByteArray kIsOn = "[5001:1:0]got port data: " + QByteArray("POWR=1\r").toHex(' ').toUpper();
} // namespace

void BoardroomTest::projectorAnswers()
{
    ExampleRoom room;
    QCOMPARE(room.prepare(QStringLiteral("boardroom/boardroom.src"),
                          { { QStringLiteral("POLL_TIMES"), QStringLiteral("{100, 200}") } }),
             QString());
    Projector projector(room);
    QTRY_VERIFY(projector.said().contains("is at"));
    writeFile(room.filePath(QStringLiteral("ports.ini")), "[serial1]\ndevice=" + projector.file().toUtf8() + '\n');
    STARTS(room);
    SAYS(room, kIsOff);
    SeenPanel panel(10001);
    panel.client.connectTo(room.address());
    QTRY_VERIFY(!panel.status().isEmpty());
    panel.press(1);
    QTRY_VERIFY(projector.said().contains("is on"));
    SAYS(room, kIsOn);

    room.forgetOutput();
    projector.pull();
    SAYS(room, "Offline Event: 5001:1:0");
    SAYS(room, "it is not open: 7 bytes were not sent");
    room.forgetOutput();
    projector.plug();
    SAYS(room, "is open again");
    SAYS(room, "Online Event: 5001:1:0");
    SAYS(room, kIsOff); // it has lost its power
}

TEST_CLASS(BoardroomTest)
#include "BoardroomTest.moc"
