#pragma once
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class ControlProgram;
class DeviceManager;
class IpMonitor;
class ProgramSockets;

/// The program files of the controller, and the program that runs.
/// Owns: the program with everything that runs it. Thread: the main thread, but for stopProgram().
/// Ends: with the application, after the network's threads.
class ExecManager : public QObject
{
    Q_OBJECT
public:
    enum class Load { Done, NoFile, CannotCopy, Damaged };

    /// \param directory  where programs and variables are kept; made when it is missing
    ExecManager(const QString &directory, DeviceManager &devices, QObject *parent = nullptr);
    ~ExecManager() override;

    QString objectFilePath() const { return m_objectFilePath; }
    QString sourceFilePath() const { return inDirectory(QStringLiteral("source.src")); }
    QString uiFilePath() const { return inDirectory(QStringLiteral("ui.dtp")); }
    QString irFilePattern() const { return inDirectory(QStringLiteral("ir%1.ir")); } // for numbers 1 to 8
    QString webArchivePath() const { return inDirectory(QStringLiteral("web.zip")); }
    QString webFolder() const { return inDirectory(QStringLiteral("web")); }
    QString irFilePath(int port) const; // of device 5001; empty for a port that is no IR emitter
    ControlProgram *program() const { return m_program.get(); } // nullptr: none is loaded
    bool stopRequested() const;                                 // the loaded program's

    void setObjectFilePath(const QString &path) { m_objectFilePath = path; }
    void setWebSocketOrigins(const QStringList &origins) { m_webSocketOrigins = origins; } // before loadProgram()

    void setTraceBytes(qint64 bytes) { m_traceBytes = bytes; } // of the programs that are loaded from now on

    /// Asks for this machine's own address: when it changes, the program's sockets connect and listen anew.
    void setOwnAddress(std::function<QString()> address) { m_ownAddress = std::move(address); }

    /// Reads a copy of the object file, so that an upload meanwhile does no harm. A damaged file leaves an empty
    /// program that runs nothing; without a file, or without room for the copy, there is no program.
    Load loadProgram();
    void runStart();      // the start block, then the controller's ports come online
    void startMainline(); // every 100 ms from now on, when there is one
    void stopProgram();   // any thread
    void forgetValues();  // of NON_VOLATILE variables and named parameters: another program will be started
    void unloadProgram(); // at the end of the process

Q_SIGNALS:
    void programGoingAway(); // still whole

private:
    QString inDirectory(const QString &name) const { return m_directory + QLatin1Char('/') + name; }
    void connectReports();
    void makeSockets();
    bool hasMainline() const;
    void stopMainline();

    const QString m_directory;
    DeviceManager &m_devices;
    QString m_objectFilePath;
    std::function<QString()> m_ownAddress = [] { return QString(); };
    QStringList m_webSocketOrigins;
    qint64 m_traceBytes = 0;
    std::unique_ptr<ControlProgram> m_program;
    std::unique_ptr<ProgramSockets> m_sockets; // the program's
    std::unique_ptr<IpMonitor> m_ipMonitor;    // for them
    int m_mainlineTicket = 0;
};
