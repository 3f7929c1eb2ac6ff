#include "compiler/Compiler.h"
#include "runtime/ControlProgram.h"
#include "support/FakeDevices.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>

// Compiles a program, runs its start block and prints what it says, the CPU time of that run alone and the peak
// memory of the process.

namespace {
constexpr int kUsageStatus = 2;

double cpuSeconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

QByteArray peakKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    const QByteArray text = status.readAll();
    const int at = text.indexOf("VmHWM:") + 6;
    return text.mid(at, text.indexOf("kB", at) - at).trimmed();
}

bool run(const QByteArray &objectFile, FakeDevices &devices, double &seconds)
{
    const QTemporaryDir directory;
    ControlProgram program(directory.path());
    AST &tree = program.tree();
    QObject::connect(&tree, &AST::error, &tree,
                     [](const QString &text) { std::fprintf(stderr, "%s\n", qPrintable(text)); });
    program.state().setDevices(&devices);
    QDataStream stream(objectFile);
    if (!program.load(stream)) {
        return false;
    }
    const double began = cpuSeconds();
    program.dispatcher().runStartBlock();
    seconds = cpuSeconds() - began;
    return true;
}
} // namespace

int main(int count, char **arguments)
{
    const QCoreApplication application(count, arguments);
    if (count != 2) {
        std::fprintf(stderr, "Usage: language_bench PROGRAM.src\n");
        return kUsageStatus;
    }
    const CompileResult compiled = compileFile(QString::fromLocal8Bit(arguments[1]));
    std::fputs(qPrintable(compiled.text()), stderr);
    FakeDevices devices;
    double seconds = 0;
    if (!compiled.isGood() || !run(compiled.objectFile, devices, seconds)) {
        return 1;
    }
    for (const QString &line : devices.lines) {
        std::printf("checksum %s\n", qPrintable(line));
    }
    std::printf("seconds %.6f\n", seconds);
    std::printf("peak_kb %s\n", peakKb().constData());
    return 0;
}
