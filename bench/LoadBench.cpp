#include "compiler/Compiler.h"
#include "runtime/ControlProgram.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

// Compiles a program, writes its object file and loads that a few times; prints what both take.

namespace {
constexpr int kUsageStatus = 2;
constexpr int kLoads = 5;

double milliseconds(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) * 1e-6;
}

/// From the bytes to a program whose handlers are ready to run. A negative figure: it does not load.
double loadMs(const QByteArray &objectFile)
{
    const QTemporaryDir directory;
    QElapsedTimer timer;
    timer.start();
    ControlProgram program(directory.path());
    QDataStream stream(objectFile);
    const bool isLoaded = program.load(stream);
    return isLoaded ? milliseconds(timer) : -1;
}
} // namespace

int main(int count, char **arguments)
{
    const QCoreApplication application(count, arguments);
    if (count != 3) {
        std::fprintf(stderr, "Usage: load_bench PROGRAM.src PROGRAM.pobj\n");
        return kUsageStatus;
    }
    QElapsedTimer timer;
    timer.start();
    const CompileResult compiled = compileFile(QString::fromLocal8Bit(arguments[1]));
    const double compileMs = milliseconds(timer);
    std::fputs(qPrintable(compiled.text()), stderr);
    QFile target(QString::fromLocal8Bit(arguments[2]));
    if (!compiled.isGood() || !target.open(QIODevice::WriteOnly) ||
        target.write(compiled.objectFile) != compiled.objectFile.size()) {
        return 1;
    }
    std::vector<double> loads;
    for (int load = 0; load < kLoads; ++load) {
        loads.push_back(loadMs(compiled.objectFile));
    }
    std::sort(loads.begin(), loads.end());
    std::printf("bytes %lld\n", static_cast<long long>(compiled.objectFile.size()));
    std::printf("compile_ms %.1f\n", compileMs);
    std::printf("load_ms %.1f\n", loads[kLoads / 2]);
    return loads.front() < 0 ? 1 : 0;
}
