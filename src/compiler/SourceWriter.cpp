#include "compiler/SourceWriter.h"

#include "compiler/Compiler.h"
#include "compiler/writing/ProgramWriter.h"
#include "program/AST.h"
#include "runtime/ObjectFile.h"
#include "runtime/Places.h"

#include <QDataStream>
#include <QStringList>

namespace {
/// \param size  of what the source has to say again: all but the places
SourceText writtenSource(const QByteArray &objectFile, int &size)
{
    AST program;
    QStringList messages;
    QObject::connect(&program, &AST::error, &program, [&messages](const QString &text) { messages += text; });
    QDataStream stream(objectFile);
    loadObjectFile(program, stream);
    const auto end = static_cast<int>(stream.device()->pos());
    size = objectFile.size();
    if (!Places::read(stream).isEmpty()) {
        size = end;
    } else if (end < size) {
        messages += QStringLiteral("%1 bytes stand behind the end mark").arg(size - end);
    }
    return { ProgramWriter(program).run(messages), QString() };
}
} // namespace

SourceText sourceOf(const QByteArray &objectFile)
{
    const QString problem = objectFileProblem(objectFile);
    if (!problem.isEmpty()) {
        return { QString(), problem };
    }
    int size = 0;
    SourceText source = writtenSource(objectFile, size);
    const CompileResult again = compileSource(source.text);
    source.isExact = again.objectFile == objectFile.left(size);
    if (!source.isExact) {
        const QString note = again.isGood()
                                 ? QStringLiteral("it gives other bytes than the file that it was made from")
                                 : QStringLiteral("it cannot be built: %1").arg(headlineOf(again.diagnostics.front()));
        source.text.prepend(
            QStringLiteral("// This text says less than its object file. Built again, %1.\n").arg(note));
    }
    return source;
}
