#include "compiler/SourceWriter.h"

#include "base/Clock.h"
#include "compiler/Compiler.h"
#include "compiler/ProgramWriter.h"
#include "events/ObjectFile.h"
#include "program/AST.h"

#include <QDataStream>
#include <QStringList>

namespace {
/// Why a file cannot be read; empty when its head is right.
QString headProblem(const QByteArray &objectFile)
{
    QDataStream stream(objectFile);
    qint32 magic = 0;
    qint32 version = 0;
    stream >> magic >> version;
    if (stream.status() != QDataStream::Ok || magic != kObjectFileMagic) {
        return QStringLiteral("this is no object file");
    }
    if (version != kObjectFileVersion) {
        return QStringLiteral("the object file has version %1; only %2 is known").arg(version).arg(kObjectFileVersion);
    }
    return {};
}

SourceText writtenSource(const QByteArray &objectFile)
{
    const Clock clock(Clock::Drive::ByHand);
    AST program(QStringLiteral(":/no-such-directory"));
    QStringList messages;
    QObject::connect(&program, &AST::error, &program, [&messages](const QString &text) { messages += text; });
    QDataStream stream(objectFile);
    if (!loadObjectFile(program, stream)) {
        return { QString(),
                 QStringLiteral("the object file is damaged: its end mark is missing, or it is nested too deeply") };
    }
    if (!stream.atEnd()) {
        messages += QStringLiteral("%1 bytes stand behind the end mark").arg(stream.device()->bytesAvailable());
    }
    return { ProgramWriter(program).run(messages), QString() };
}
} // namespace

SourceText sourceOf(const QByteArray &objectFile)
{
    const QString problem = headProblem(objectFile);
    if (!problem.isEmpty()) {
        return { QString(), problem };
    }
    SourceText source = writtenSource(objectFile);
    if (!source.problem.isEmpty()) {
        return source;
    }
    const CompileResult again = compileSource(source.text);
    source.isExact = again.objectFile == objectFile;
    if (!source.isExact) {
        const QString note = again.isGood()
                                 ? QStringLiteral("it gives other bytes than the file that it was made from")
                                 : QStringLiteral("it cannot be built: %1").arg(headlineOf(again.diagnostics.front()));
        source.text.prepend(
            QStringLiteral("// This text says less than its object file. Built again, %1.\n").arg(note));
    }
    return source;
}
