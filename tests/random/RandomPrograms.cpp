#include "compiler/Compiler.h"
#include "compiler/SourceWriter.h"
#include "support/ScriptedProgram.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>
#include <unistd.h>

namespace {
constexpr unsigned kSecondsPerProgram = 30;

/// A value as the reference interpreter writes it, reference.py.
QString written(const ValueView &value)
{
    if (value.isNumber()) {
        return QString::number(value.number, 'g', 17);
    }
    if (const Array *const array = value.array()) {
        QStringList elements;
        for (int i = 1; i <= array->length(); ++i) {
            elements << written(array->view(i));
        }
        return QStringLiteral("{%1}").arg(elements.join(QStringLiteral(", ")));
    }
    if (value.isNone()) {
        return QStringLiteral("none");
    }
    if (value.object->valueClass() == ValueClass::Device) {
        return static_cast<const Device *>(value.object)->address().text();
    }
    QStringList members;
    for (const StructType::Member &member : static_cast<const StructType *>(value.object)->members()) {
        members << member.name.text() + QLatin1Char('=') + written(ValueView::of(member.value.get()));
    }
    return QStringLiteral("(%1)").arg(members.join(QStringLiteral(", ")));
}

/// What a program does when its script, the lines "//! …" of its source, happens to it: its lines, then its variables.
QStringList played(const QByteArray &objectFile, const QStringList &script)
{
    Clock clock(Clock::Drive::ByHand);
    Player player(objectFile, clock);
    QStringList lines = player.takeLines();
    for (const QString &what : script) {
        lines << QStringLiteral("! ") + what;
        player.happen(what);
        lines += player.takeLines();
    }
    for (const auto &[name, value] : player.tree().globals()) {
        if (!value->isConst() && !player.tree().isSystemSymbol(value.get())) {
            lines << name + QStringLiteral(" = ") + written(ValueView::of(value.get()));
        }
    }
    return lines;
}

/// What is wrong with the way to source and back; empty when the program comes back to the same bytes and lines.
QString roundTripProblem(const QByteArray &objectFile, const QStringList &script, const QStringList &lines)
{
    const SourceText dumped = sourceOf(objectFile);
    if (!dumped.problem.isEmpty()) {
        return QStringLiteral("dump: ") + dumped.problem;
    }
    const CompileResult again = compileSource(dumped.text);
    if (!again.isGood()) {
        return QStringLiteral("the dump does not compile: ") + again.text() + dumped.text;
    }
    const QStringList linesAgain = played(again.objectFile, script);
    for (int i = 0; i < qMax(lines.size(), linesAgain.size()); ++i) {
        if (lines.value(i) != linesAgain.value(i)) {
            return QStringLiteral("dumped and compiled again, line %1 is '%2' instead of '%3'")
                .arg(QString::number(i + 1), linesAgain.value(i), lines.value(i));
        }
    }
    return dumped.isExact && again.objectFile == objectFile ? QString() : QStringLiteral("the dump gives other bytes");
}

QByteArray printable(const QString &line)
{
    QByteArray text;
    for (const QChar c : line) {
        const ushort code = c.unicode();
        text += code >= ' ' && code <= '~' && code != '\\' ? QByteArray(1, static_cast<char>(code))
                                                           : QByteArrayLiteral("\\x") + QByteArray::number(code, 16);
    }
    return text + '\n';
}

QByteArray report(const QString &source)
{
    const CompileResult compiled = compileSource(source);
    if (!compiled.isGood()) {
        return "does not compile: " + compiled.text().toUtf8();
    }
    QStringList script;
    for (const QString &line : source.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("//! "))) {
            script << line.mid(4);
        }
    }
    const QStringList lines = played(compiled.objectFile, script);
    QByteArray text;
    for (const QString &line : lines) {
        text += printable(line);
    }
    const QString problem = roundTripProblem(compiled.objectFile, script, lines);
    return problem.isEmpty() ? text : text + "PROBLEM " + problem.toUtf8() + '\n';
}
} // namespace

/// Plays programs with their scripts and prints what they do. Reads the names of source files from standard input; for
/// each prints a line "## NAME" before it begins, the program's lines, and "##" when it is through. A program that
/// takes too long ends the process, as a crash does: the last name tells which it was.
int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    char name[4096];
    while (std::fgets(name, sizeof name, stdin)) {
        QFile file(QString::fromLocal8Bit(name).trimmed());
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "cannot read %s\n", qPrintable(file.fileName()));
            return 2;
        }
        std::printf("## %s\n", qPrintable(file.fileName()));
        std::fflush(stdout);
        alarm(kSecondsPerProgram);
        std::printf("%s##\n", report(QString::fromUtf8(file.readAll())).constData());
        std::fflush(stdout);
    }
    return 0;
}
