#include "ControllerProcess.h"
#include "support/Table.h"
#include "support/TestClass.h"
#include "support/ToolRun.h"
#include <QRegularExpression>
#include <QSocketNotifier>

#include <csignal>

#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

/// arkctl panel against a real controller: the screen on a terminal of its own, and scripts.
class PanelTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void screen();
    void endsWithASignal_data();
    void endsWithASignal();
    void nobodyThere();
    void scripts_data();
    void scripts();
};

namespace {
constexpr char kRoom[] = "device dvPanel = 10001:1:0\n"
                         "data_event [dvPanel] { online: {\n"
                         "  set_button_state_property(dvPanel, 5, 1, 'text', 'Lamp')\n"
                         "  send_command dvPanel, \"'say', 27, ']0;evil', 7\" } }\n"
                         "button_event [dvPanel, 5] { push: { on [dvPanel, 5]; send_string 5001:1:0, 'pushed' }\n"
                         "  release: { send_string 5001:1:0, 'released' } }\n"
                         "level_event [dvPanel, 1] { send_string 5001:2:0, \"'level ', itoa(level.value)\" }\n";

/// arkctl on a terminal of its own, and what it writes there.
class Screen
{
public:
    Screen(const QStringList &arguments, int columns, int rows)
    {
        const winsize size{ static_cast<ushort>(rows), static_cast<ushort>(columns), 0, 0 };
        ::openpty(&m_master, &m_terminal, nullptr, nullptr, &size);
        ::tcgetattr(m_terminal, &m_before);
        m_process = ::fork();
        if (m_process == 0) {
            run(arguments);
        }
        m_notifier.reset(new QSocketNotifier(m_master, QSocketNotifier::Read));
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] {
            char bytes[4096];
            const ssize_t count = ::read(m_master, bytes, sizeof bytes);
            m_written.append(bytes, static_cast<int>(std::max<ssize_t>(count, 0)));
        });
    }
    ~Screen()
    {
        if (!hasEnded()) {
            ::kill(m_process, SIGKILL);
            ::waitpid(m_process, nullptr, 0);
        }
        ::close(m_master);
        ::close(m_terminal);
    }

    void type(const QByteArray &keys)
    {
        QCOMPARE(::write(m_master, keys.constData(), size_t(keys.size())), keys.size());
    }
    void signal(int number) { ::kill(m_process, number); }
    /// What stands there is written anew.
    void resize(int columns, int rows)
    {
        m_written.clear();
        const winsize size{ static_cast<ushort>(rows), static_cast<ushort>(columns), 0, 0 };
        ::ioctl(m_master, TIOCSWINSZ, &size);
    }
    QByteArray written() const { return m_written; }
    QString text() const // without the commands to the terminal
    {
        static const QRegularExpression commands(QStringLiteral("\x1B(\\[[0-9;?]*[A-Za-z]|[()][A-Z0-9]|[=>])|\x0F"));
        return QString::fromUtf8(m_written).remove(commands);
    }
    bool hasEnded()
    {
        if (m_process > 0 && ::waitpid(m_process, &m_status, WNOHANG) == m_process) {
            m_process = 0;
        }
        return m_process == 0;
    }
    int exitCode() const { return WIFEXITED(m_status) ? WEXITSTATUS(m_status) : -1; }
    /// The settings are those of before, and the screen that was there is back.
    bool isRestored() const
    {
        termios now{};
        ::tcgetattr(m_terminal, &now);
        return now.c_iflag == m_before.c_iflag && now.c_oflag == m_before.c_oflag && now.c_lflag == m_before.c_lflag &&
               m_written.lastIndexOf("\x1B[?1049l") > m_written.lastIndexOf("\x1B[?1049h");
    }

private:
    [[noreturn]] void run(const QStringList &arguments)
    {
        ::login_tty(m_terminal);
        ::setenv("TERM", "xterm", 1);
        ::setenv("NO_COLOR", "1", 1);
        ::setenv("LC_ALL", "C", 1); // texts are UTF-8 all the same
        std::vector<QByteArray> words{ ARKCTL_PROGRAM };
        for (const QString &argument : arguments) {
            words.push_back(argument.toUtf8());
        }
        std::vector<char *> pointers;
        for (QByteArray &word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        ::execv(ARKCTL_PROGRAM, pointers.data());
        ::_exit(127);
    }

    int m_master = -1;
    int m_terminal = -1;
    pid_t m_process = 0;
    int m_status = -1;
    termios m_before{};
    QByteArray m_written;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

QStringList panel(const QString &host, const QStringList &more = {})
{
    return QStringList{ QStringLiteral("--host"), host, QStringLiteral("panel"), QStringLiteral("10001") } + more;
}
} // namespace

#define SHOWS(screen, part) QTRY_VERIFY2((screen).text().contains(QStringLiteral(part)), qPrintable((screen).text()))

void PanelTest::screen()
{
    ControllerProcess controller;
    INSTALLS(controller, kRoom);
    STARTS(controller);
    Screen screen(panel(controller.address()), 100, 30);
    SHOWS(screen, "\u25cf connected");
    SHOWS(screen, "command say\\x1b]0;evil\\x07");
    QVERIFY(!screen.written().contains("\x1B]0;evil"));
    SHOWS(screen, "\u25cb  5 Lamp");

    screen.type("5\r");
    SAYS(controller, "released");
    SHOWS(screen, "\u25cf  5 Lamp");
    screen.type("\t+");
    SAYS(controller, "level 1");

    screen.type(
        QByteArray::fromHex("00 ff fe 1b5b3939393b393939 48 1b5b4d ffffff 1b 1b4f 7a e4bc9a 1b5b3c39393b393948 61"));
    for (const QSize size : { QSize(20, 6), QSize(3, 2), QSize(200, 60), QSize(80, 24) }) {
        screen.resize(size.width(), size.height());
        QTRY_VERIFY(!screen.written().isEmpty());
    }
    SHOWS(screen, "\u25cf connected");
    SHOWS(screen, "\u25cf  5 Lamp");

    screen.resize(20, 6);
    SHOWS(screen, "Panel 10001      \u25cf");
    // More at once than a terminal library may keep; the last value counts.
    screen.type("\x1B[<0;7;4M" + QByteArray("\x1B[<32;9;6M\x1B[<32;12;3M").repeated(100) + "\x1B[<0;14;2m");
    SAYS(controller, "level 255");
    screen.resize(80, 24);
    SHOWS(screen, "\u25cf connected");

    controller.signal(SIGTERM);
    SHOWS(screen, "connecting again in");
    QTRY_VERIFY(!controller.isRunning());
    STARTS(controller);
    SAYS(controller, "id 10001");
    screen.resize(100, 30);
    SHOWS(screen, "\u25cf connected");
    SHOWS(screen, "\u25cb  5 Lamp"); // the room is a new one: nothing is lit

    screen.type("\x1B[Z5 "); // held
    SAYS(controller, "pushed");
    QVERIFY(!controller.output().contains("released"));
    screen.type("q");
    SAYS(controller, "released");
    QTRY_VERIFY(screen.hasEnded());
    QCOMPARE(screen.exitCode(), 0);
    QTRY_VERIFY2(screen.isRestored(), screen.written().right(200).toHex(' ').constData());
}

void PanelTest::endsWithASignal_data()
{
    // number: 0: Ctrl-C
    const Table<int> row("number");
    row("Ctrl-C", 0);
    row("SIGTERM", SIGTERM);
    row("SIGHUP", SIGHUP);
}

void PanelTest::endsWithASignal()
{
    QFETCH(int, number);
    ControllerProcess controller;
    INSTALLS(controller, kRoom);
    STARTS(controller);
    Screen screen(panel(controller.address()), 80, 24);
    SHOWS(screen, "\u25cf connected");
    screen.type("5 ");
    SAYS(controller, "pushed");
    if (number == 0) {
        screen.type("\x03");
    } else {
        screen.signal(number);
    }
    SAYS(controller, "released");
    QTRY_VERIFY(screen.hasEnded());
    QCOMPARE(screen.exitCode(), 0);
    QTRY_VERIFY(screen.isRestored());
}

void PanelTest::nobodyThere()
{
    Screen screen(panel(QStringLiteral("127.1.1.1")), 80, 24);
    QTRY_VERIFY(screen.hasEnded());
    QCOMPARE(screen.exitCode(), 1);
    QTRY_VERIFY(screen.isRestored());
    const int screenEnd = screen.written().lastIndexOf("\x1B[?1049l");
    QTRY_VERIFY(screen.written().indexOf("arkctl: no connection to 127.1.1.1:6139") > screenEnd);
}

void PanelTest::scripts_data()
{
    // lines: of the controller, in this order
    const Table<QString, QByteArray, int, QByteArray, QByteArrayList> row("words", "input", "status", "error", "lines");
    row("lines", "-", "# evening\n\npush 5\nwait 0.02 release 5\nlevel 1 7", 0, "",
        { "pushed", "released", "level 7" });
    row("words first", "level 1 3 -", "press 5\n", 0, "", { "level 3", "pushed", "released" });
    row("up to a fault", "-", "level 1 9\npoke 5\npress 5\n", 2, "arkctl: line 2: unknown action: poke", { "level 9" });
    row("no line", "-", QByteArray(10000, 'x'), 1, "arkctl: standard input: line 1 is too long", {});
    row("empty", "-", "", 0, "", {});
    row("many empty lines", "-", QByteArray(3000, '\n') + "level 1 5", 0, "", { "level 5" });
    row("no terminal", "", "", 2, "arkctl: without an action the panel is a screen", {});
}

void PanelTest::scripts()
{
    QFETCH(QString, words);
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, error);
    QFETCH(QByteArrayList, lines);
    ControllerProcess controller;
    INSTALLS(controller, kRoom);
    STARTS(controller);
    const ToolRun run = runTool(QStringLiteral(ARKCTL_PROGRAM),
                                panel(controller.address(), words.split(QLatin1Char(' '), Qt::SkipEmptyParts)), input);
    QTEST(run.status, "status");
    QVERIFY2(run.errors.startsWith(error) && error.isEmpty() == run.errors.isEmpty(), run.errors.constData());
    int from = 0;
    for (const QByteArray &line : lines) {
        QTRY_VERIFY2(controller.output().indexOf(line, from) >= 0, controller.output().constData());
        from = controller.output().indexOf(line, from);
    }
    QVERIFY(lines.contains("pushed") || !controller.output().contains("pushed"));
}

TEST_CLASS(PanelTest)
#include "PanelTest.moc"
