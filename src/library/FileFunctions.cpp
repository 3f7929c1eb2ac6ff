#include "library/FileFunctions.h"

#include "base/Numbers.h"
#include "interp/ProgramState.h"
#include "model/Values.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {
enum Status : int {
    Done = 0,
    UnknownHandle = -1,
    NoSuchFile = -2, // also: no name
    UnknownMode = -3,
    Failed = -5, // also: not open, no array, nothing to write
    WrongRange = -6,
    NotOpen = -7,
    EndOfFile = -9,
};

constexpr int kFirstHandle = 4;
constexpr qint64 kPiece = 1 << 16;    // bytes read at a time
constexpr int kMostWritten = 1 << 24; // bytes written by one call

/// The file of a handle, when it is open; otherwise nullptr and what to answer. Ask when every argument has been
/// evaluated: the program that runs for one might close the file.
QFile *openFile(const ArgumentList &arguments, int handle, Status &problem)
{
    const auto &files = arguments.run().state().files();
    const auto found = files.find(handle);
    problem = found == files.end() ? UnknownHandle : Failed;
    return found == files.end() ? nullptr : found->second.get();
}

/// Reads up to count bytes, or to the end of a line, and hands them on in pieces. Returns how many there were.
template <class Take>
int readPieces(QFile &file, int count, bool wholeLine, Take take)
{
    int total = 0;
    while (total < count) {
        const qint64 most = std::min<qint64>(count - total, kPiece);
        QByteArray piece(static_cast<int>(most) + 1, 0); // readLine() ends what it reads with a zero byte
        const qint64 read = wholeLine ? file.readLine(piece.data(), most + 1) : file.read(piece.data(), most);
        if (read <= 0) {
            break;
        }
        piece.truncate(static_cast<int>(read));
        take(piece, total);
        total += piece.size();
        if (wholeLine && piece.endsWith('\n')) {
            break;
        }
    }
    return total;
}

/// Elements 1 to count that are stored and numbers, also behind the length.
QByteArray elementBytes(const Array &array, int count)
{
    QByteArray bytes;
    for (int index = 1; index <= std::min({ count, array.capacity(), kMostWritten }); ++index) {
        if (const ValueView element = array.hasElement(index) ? array.view(index) : ValueView{}; element.isNumber()) {
            bytes.append(static_cast<char>(integerPart(element.number)));
        }
    }
    return bytes;
}

/// Only plain files: opening or copying a pipe or a device could wait for ever.
bool isPlainFile(const QString &name)
{
    return QFileInfo(name).isFile();
}
} // namespace

void FileOpenFunc::call(const ArgumentList &arguments)
{
    if (arguments.count() < 2) {
        return;
    }
    const QString name = textArgument(arguments, 0);
    const int mode = arguments.integer(1);
    if (name.isEmpty()) {
        setStatus(arguments, NoSuchFile);
        return;
    }
    if (mode < 1 || mode > 3) {
        setStatus(arguments, UnknownMode);
        return;
    }
    constexpr QIODevice::OpenMode kModes[] = { QIODevice::ReadOnly, QIODevice::ReadWrite,
                                               QIODevice::ReadWrite | QIODevice::Append };
    auto file = std::make_unique<QFile>(name);
    if ((file->exists() && !isPlainFile(name)) || !file->open(kModes[mode - 1])) {
        setStatus(arguments, Failed);
        return;
    }
    auto &files = arguments.run().state().files();
    const int handle = files.empty() ? kFirstHandle : files.rbegin()->first + 1; // none is ever taken out
    files.emplace(handle, std::move(file));
    setStatus(arguments, handle);
}

void FileCloseFunc::call(const ArgumentList &arguments)
{
    auto &files = arguments.run().state().files();
    const auto found = files.find(arguments.integer(0));
    if (found == files.end()) {
        setStatus(arguments, UnknownHandle);
        return;
    }
    setStatus(arguments, found->second ? Done : NotOpen);
    found->second.reset();
}

void FileInputFunc::call(const ArgumentList &arguments)
{
    setStatus(arguments, read(arguments));
}

int FileInputFunc::read(const ArgumentList &arguments) const
{
    if (arguments.count() < 3) {
        return WrongRange;
    }
    const int handle = arguments.integer(0);
    const int count = arguments.integer(2);
    Array *buffer = arguments.arrayVariable(1); // last, since evaluating the others may run the program
    if (!buffer) {
        return Failed;
    }
    Status problem = Done;
    QFile *file = openFile(arguments, handle, problem);
    if (!file) {
        return problem;
    }
    if (file->atEnd()) {
        return EndOfFile;
    }
    if (count < 1) {
        return WrongRange;
    }
    const auto store = [buffer](const QByteArray &piece, int offset) {
        const int stored = std::min(piece.size(), std::max(buffer->capacity() - offset, 0));
        for (int i = 0; i < stored; ++i) {
            const auto byte = static_cast<quint8>(piece.at(i));
            assignValue(buffer->place(offset + i + 1), ValueView::ofNumber(byte, CharType));
        }
    };
    const int total = readPieces(*file, m_unit == Unit::Line ? count - 1 : count, m_unit == Unit::Line, store);
    arguments.storeChanged(1);
    return total > 0 ? total : Failed;
}

void FileOutputFunc::call(const ArgumentList &arguments)
{
    setStatus(arguments, static_cast<double>(write(arguments)));
}

qint64 FileOutputFunc::write(const ArgumentList &arguments) const
{
    if (arguments.count() < 3) {
        return WrongRange;
    }
    const int handle = arguments.integer(0);
    const int count = arguments.integer(2);
    const ArrayArgument buffer(arguments, 1);
    if (!buffer.array) {
        return Failed;
    }
    Status problem = Done;
    QFile *file = openFile(arguments, handle, problem);
    if (!file) {
        return problem;
    }
    const QByteArray bytes = elementBytes(*buffer.array, count);
    if (bytes.isEmpty() || !file->isWritable()) {
        return Failed;
    }
    const qint64 written = file->write(bytes) + file->write(m_terminator);
    return file->flush() ? written : qint64{ Failed }; // a power cut takes no line that the program believes written
}

void FileSeekFunc::call(const ArgumentList &arguments)
{
    setStatus(arguments, static_cast<double>(seek(arguments)));
}

qint64 FileSeekFunc::seek(const ArgumentList &arguments)
{
    if (arguments.count() < 2) {
        return WrongRange;
    }
    const int handle = arguments.integer(0);
    const qint64 position = arguments.integer64(1);
    Status problem = Done;
    QFile *file = openFile(arguments, handle, problem);
    if (!file) {
        return problem;
    }
    if (position > file->size()) {
        return WrongRange;
    }
    return position >= 0 && file->seek(position) ? file->pos() : qint64{ Failed };
}

FileCopyFunc::FileCopyFunc(const QString &name)
    : FileTransferFunc(name, [](const QString &source, const QString &target) {
        return isPlainFile(source) && QFile::copy(source, target);
    })
{}

void FileTransferFunc::call(const ArgumentList &arguments)
{
    const QString source = textArgument(arguments, 0);
    const QString target = textArgument(arguments, 1);
    if (arguments.count() < 2 || !QFile::exists(source)) {
        setStatus(arguments, NoSuchFile);
        return;
    }
    setStatus(arguments, !target.isEmpty() && m_transfer(source, target) ? Done : Failed);
}

void FileDeleteFunc::call(const ArgumentList &arguments)
{
    const QString name = textArgument(arguments, 0);
    if (!QFile::exists(name)) {
        setStatus(arguments, NoSuchFile);
        return;
    }
    setStatus(arguments, QFile::remove(name) ? Done : Failed);
}
