#pragma once
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

/// A controller of its own: the real program on a loopback address that no other test uses, with a data directory and
/// a directory for temporary files and local sockets that go with it.
/// Owns: the process. Ends: killed with the object, when it has not ended before.
class ControllerProcess
{
public:
    ControllerProcess();
    ~ControllerProcess();
    ControllerProcess(const ControllerProcess &) = delete;
    ControllerProcess &operator=(const ControllerProcess &) = delete;

    QString address() const { return m_address; }
    QString filePath(const QString &name) const { return m_directory.filePath(name); } // in the data directory
    QByteArray output() const { return m_output; }                                     // so far
    QByteArray errors() const { return m_errors; }
    bool isRunning() const { return m_process.state() == QProcess::Running; }
    int exitCode() const { return m_process.exitCode(); }
    QProcess &process() { return m_process; }

    /// Compiles a source as the default program, or under another name. What went wrong; empty when all is well.
    QString install(const char *source, const QString &name = QStringLiteral("program.pobj"));
    QStringList standardArguments() const; // data directory, address, --monitor, --no-system-changes
    QProcessEnvironment environment() const;

    void start(const QStringList &moreArguments = {}); // the standard ones and these
    void startWith(const QString &program, const QStringList &arguments);
    void signal(int number);
    void forgetOutput() { m_output.clear(); }

private:
    QTemporaryDir m_directory;
    QString m_address;
    QProcess m_process;
    QByteArray m_output;
    QByteArray m_errors;
};

// Real processes, on a machine that may be busy: how long something takes is not what these tests ask.
constexpr int kPatienceMs = 20000;
#undef QTRY_VERIFY
#undef QTRY_VERIFY2
#undef QTRY_COMPARE
#define QTRY_VERIFY(expression) QTRY_VERIFY_WITH_TIMEOUT(expression, kPatienceMs)
#define QTRY_COMPARE(actual, expected) QTRY_COMPARE_WITH_TIMEOUT(actual, expected, kPatienceMs)
#define QTRY_VERIFY2(expression, description)                                                                          \
    do {                                                                                                               \
        QTRY_IMPL((expression), kPatienceMs)                                                                           \
        QVERIFY2((expression), (description));                                                                         \
    } while (false)

#define INSTALLS(controller, source) QCOMPARE((controller).install(source), QString())
#define SAYS(process, text) QTRY_VERIFY2((process).output().contains(text), (process).output().constData())
#define IS_UP(controller)                                                                                              \
    QTRY_VERIFY2((controller).output().contains("Network started."), (controller).errors().constData())
#define STARTS(controller)                                                                                             \
    (controller).forgetOutput();                                                                                       \
    (controller).start();                                                                                              \
    QTRY_VERIFY2((controller).output().contains("Online Event: 5001:4:0"), (controller).errors().constData())
#define JOINS(client, controller)                                                                                      \
    (client).connectTo((controller).address());                                                                        \
    QTRY_VERIFY((client).isIntroduced())
