#include "ControllerProcess.h"
#include "net/client/LinkClient.h"
#include "support/TestClass.h"

#include <csignal>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// The real controller below a service manager, which is a datagram socket here.
class ServiceTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tellsItsLife();
    void isNotReadyWithoutItsPort();
};

namespace {
/// What systemd would hear, one message after the other.
class NotifySocket
{
public:
    explicit NotifySocket(ControllerProcess &controller)
        : m_descriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    {
        const QByteArray path = controller.filePath(QStringLiteral("notify")).toLocal8Bit();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, path.constData(), sizeof address.sun_path);
        ::bind(m_descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address);
        QProcessEnvironment environment = controller.environment();
        environment.insert(QStringLiteral("NOTIFY_SOCKET"), QString::fromLocal8Bit(path));
        environment.insert(QStringLiteral("WATCHDOG_USEC"), QStringLiteral("100000"));
        controller.process().setProcessEnvironment(environment);
    }
    ~NotifySocket() { ::close(m_descriptor); }
    NotifySocket(const NotifySocket &) = delete;
    NotifySocket &operator=(const NotifySocket &) = delete;

    const QByteArrayList &messages()
    {
        char bytes[4096];
        ssize_t size = 0;
        while ((size = ::recv(m_descriptor, bytes, sizeof bytes, 0)) > 0) {
            m_messages << QByteArray(bytes, static_cast<int>(size));
        }
        return m_messages;
    }

private:
    const int m_descriptor;
    QByteArrayList m_messages;
};
} // namespace

void ServiceTest::tellsItsLife()
{
    ControllerProcess controller;
    QCOMPARE(controller.install("integer n\n"
                                "start {\n"
                                "while (n < 1000000) { n = n + 1 }\n"
                                "send_string 5001:1:0, 'the start block has run' }"),
             QString());
    NotifySocket manager(controller);
    controller.start();
    QTRY_VERIFY2(!manager.messages().isEmpty(), controller.errors().constData());
    QCoreApplication::processEvents(); // what it had printed before is here at once
    QVERIFY2(controller.output().contains("the start block has run"), controller.output().constData());
    QVERIFY(controller.output().contains("Network started."));
    QCOMPARE(manager.messages().first(), QByteArray("READY=1\nSTATUS=Program program.pobj, system 1"));
    QTRY_VERIFY(manager.messages().size() >= 4);

    LinkClient tool({ 2, 100, "tool", "1" });
    JOINS(tool, controller);
    tool.sendTextCommand("sysnum\n7");
    QTRY_COMPARE(manager.messages().last(), QByteArray("WATCHDOG=1\nSTATUS=Program program.pobj, system 7"));
    controller.signal(SIGTERM);
    QTRY_VERIFY(!controller.isRunning());
    QCOMPARE(manager.messages().last(), QByteArray("STOPPING=1\nSTATUS=Ending"));
}

void ServiceTest::isNotReadyWithoutItsPort()
{
    ControllerProcess first;
    first.start();
    IS_UP(first);
    ControllerProcess second;
    NotifySocket manager(second);
    QStringList arguments = second.standardArguments();
    arguments.replaceInStrings(second.address(), first.address());
    second.startWith(QStringLiteral(ARKIVON_PROGRAM), arguments);
    QTRY_VERIFY(!second.isRunning() && second.exitCode() == 2);
    QVERIFY2(second.errors().contains(first.address().toLatin1() + ", TCP port 6139"), second.errors().constData());
    QCOMPARE(manager.messages(), QByteArrayList());
}

TEST_CLASS(ServiceTest)
#include "ServiceTest.moc"
