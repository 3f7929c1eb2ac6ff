#include "tools/arkc/Files.h"

#include "compiler/Sources.h"
#include "tools/arkc/Console.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <sys/stat.h>
#include <unistd.h>

namespace arkc {
namespace {
/// The first bytes of every object file (docs/formats/object-file.md).
const QByteArray kObjectFileMark = QByteArray::fromHex("cefb2ef2");

void keepOwner(const QString &path, const QFileDevice &file)
{
    struct stat before = {};
    struct stat now = {};
    const bool isKnown = ::stat(QFile::encodeName(path).constData(), &before) == 0 && ::fstat(file.handle(), &now) == 0;
    if (isKnown && (before.st_uid != now.st_uid || before.st_gid != now.st_gid) &&
        ::fchown(file.handle(), before.st_uid, before.st_gid) == 0) {
        ::fchmod(file.handle(), before.st_mode & 07777U);
    }
}

/// The text of an error of a file that cannot be read, and what to try.
QString readProblem(const QString &path, const QFileDevice &file, const QString &problem)
{
    const QFileInfo info(path);
    if (info.isDir()) {
        return QStringLiteral("cannot be read: it is a folder; name a file in it");
    }
    const char *const advice = file.error() == QFileDevice::NoError ? "name another"
                               : info.exists()                      ? "check its rights"
                                                                    : "check its name";
    return QStringLiteral("cannot be read: %1; %2").arg(problem, QLatin1String(advice));
}

template <class File>
bool writeAll(File &file, const QByteArray &bytes)
{
    return file.write(bytes) == bytes.size() && file.flush();
}
} // namespace

Input readInput(const QString &path, const QString &nameOfStandardInput)
{
    Input input{ path, {}, {} };
    QFile file(path);
    bool isOpen = false;
    if (path == kStandardInput) {
        input.name = nameOfStandardInput.isEmpty() ? QStringLiteral("standard-input.src") : nameOfStandardInput;
        isOpen = file.open(STDIN_FILENO, QIODevice::ReadOnly);
    } else {
        isOpen = file.open(QIODevice::ReadOnly);
    }
    const ReadBytes read = isOpen ? readBytes(file) : ReadBytes{ {}, file.errorString() };
    input.bytes = read.bytes;
    if (!read.problem.isNull() || (path != kStandardInput && QFileInfo(path).isDir())) {
        input.problem = readProblem(path, file, read.problem);
    }
    return input;
}

std::optional<Diagnostic> sourceProblem(const Input &input, Emptiness emptiness)
{
    const auto problem = [&input](const QString &text, int line = 0) {
        return Diagnostic{ Diagnostic::Severity::Error, input.name, line, line > 0 ? 1 : 0, text };
    };
    if (!input.problem.isEmpty()) {
        return problem(input.problem);
    }
    if (input.bytes.startsWith(kObjectFileMark)) {
        return problem(QStringLiteral("this is an object file, no source; 'arkc dump' writes it as source"));
    }
    const ReadSource source = decodeSource(input.bytes);
    if (!source.problem.isNull()) {
        const char *const advice =
            input.bytes.contains('\0') ? "; name a source file" : "; save it as UTF-8 in the editor";
        return problem(source.problem + QLatin1String(advice), source.line);
    }
    if (emptiness == Emptiness::Refused && source.text.trimmed().isEmpty()) {
        return problem(QStringLiteral("the file is empty; a program has at least a declaration or an event"));
    }
    return std::nullopt;
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    const QFileInfo info(path);
    QString problem;
    if (info.exists() && !info.isFile() && !info.isDir()) {
        QFile file(path);
        if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && writeAll(file, bytes)) {
            return true;
        }
        problem = file.errorString();
    } else {
        QSaveFile file(path);
        if (file.open(QIODevice::WriteOnly)) {
            keepOwner(path, file);
            if (writeAll(file, bytes) && file.commit()) {
                return true;
            }
        }
        problem = file.errorString();
    }
    complain(QStringLiteral("cannot write %1: %2").arg(path, problem),
             QStringLiteral("check the folder, its rights and the space on the disk"));
    return false;
}
} // namespace arkc
