#pragma once
#include <QProcess>

/// A program that was started and has ended by itself.
struct ToolRun
{
    int status = -1; // also when it crashed, or has not ended in time
    QByteArray output;
    QByteArray errors;
};

struct ToolSurroundings
{
    QString folder = {};
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
};

inline ToolRun runTool(const QString &program, const QStringList &arguments, const QByteArray &input = {},
                       const ToolSurroundings &surroundings = {})
{
    QProcess process;
    process.setWorkingDirectory(surroundings.folder);
    process.setProcessEnvironment(surroundings.environment);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    const bool hasEnded = process.waitForFinished() && process.exitStatus() == QProcess::NormalExit;
    return { hasEnded ? process.exitCode() : -1, process.readAllStandardOutput(), process.readAllStandardError() };
}
