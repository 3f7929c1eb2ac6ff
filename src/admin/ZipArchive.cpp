#include "admin/ZipArchive.h"
#include "base/Messages.h"
#include <QDir>
#include <QtEndian>

#include <algorithm>

#include <sys/stat.h>
#include <zlib.h>

namespace {
constexpr quint32 kEndSignature = 0x06054B50;
constexpr quint32 kEntrySignature = 0x02014B50;
constexpr quint32 kLocalSignature = 0x04034B50;
constexpr int kEndSize = 22;
constexpr int kEntrySize = 46;
constexpr int kLocalSize = 30;
constexpr int kMaxComment = 65535;
constexpr qint64 kMaxDirectoryBytes = 16LL * 1024 * 1024;
constexpr quint16 kStored = 0;
constexpr quint16 kDeflated = 8;
constexpr quint16 kEncrypted = 1; // a flag
constexpr quint32 kFolderAttribute = 0x10;
constexpr int kUnix = 3;
constexpr int kPieceBytes = 64 * 1024;

quint16 word(const QByteArray &bytes, int offset)
{
    return qFromLittleEndian<quint16>(bytes.constData() + offset);
}

quint32 number(const QByteArray &bytes, int offset)
{
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

QString damaged()
{
    return translated(QT_TRANSLATE_NOOP("messages", "The archive is damaged"));
}

QString unknownPacking(const QString &path)
{
    return translated(QT_TRANSLATE_NOOP("messages", "%1 is encrypted or packed in an unknown way")).arg(path);
}

QString nameOf(const QByteArray &bytes)
{
    const QString name = QString::fromUtf8(bytes);
    return name.toUtf8() == bytes ? name : QString::fromLatin1(bytes);
}

/// The path with "/" between its parts and without empty ones; nothing when it is absolute or goes upwards.
std::optional<QString> safePath(QString path)
{
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    const bool hasDrive = path.size() >= 2 && path.at(1) == QLatin1Char(':');
    const bool hasControls = std::any_of(path.begin(), path.end(), [](QChar c) { return c.unicode() < 0x20; });
    if (path.startsWith(QLatin1Char('/')) || hasDrive || hasControls) {
        return std::nullopt;
    }
    QStringList parts = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    parts.removeAll(QStringLiteral("."));
    if (parts.contains(QStringLiteral(".."))) {
        return std::nullopt;
    }
    return parts.join(QLatin1Char('/'));
}

/// Takes packed bytes and gives unpacked ones, piece by piece.
class Inflater
{
public:
    explicit Inflater(bool isDeflated)
        : m_isDeflated(isDeflated)
        , m_isGood(!isDeflated || ::inflateInit2(&m_stream, -MAX_WBITS) == Z_OK)
    {}
    ~Inflater()
    {
        if (m_isDeflated) {
            ::inflateEnd(&m_stream);
        }
    }
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    /// Calls take(bytes, count) for what a piece gives; false when it is damaged or take returns false.
    template <class Take>
    bool feed(QByteArray &piece, Take take)
    {
        if (!m_isDeflated) {
            return take(piece.constData(), piece.size());
        }
        m_stream.next_in = reinterpret_cast<Bytef *>(piece.data());
        m_stream.avail_in = static_cast<uInt>(piece.size());
        char unpacked[kPieceBytes];
        while (m_isGood && !m_isEnded) {
            m_stream.next_out = reinterpret_cast<Bytef *>(unpacked);
            m_stream.avail_out = sizeof unpacked;
            const int status = ::inflate(&m_stream, Z_NO_FLUSH);
            m_isEnded = status == Z_STREAM_END;
            m_isGood = (m_isEnded || status == Z_OK || status == Z_BUF_ERROR) &&
                       take(unpacked, static_cast<int>(sizeof unpacked - m_stream.avail_out));
            if (m_stream.avail_out != 0) {
                break; // wants more input
            }
        }
        return m_isGood;
    }

    bool isComplete() const { return m_isGood && (m_isEnded || !m_isDeflated); }

private:
    const bool m_isDeflated;
    z_stream m_stream{};
    bool m_isGood;
    bool m_isEnded = false;
};
} // namespace

std::optional<QString> ZipArchive::open()
{
    if (!m_file.open(QIODevice::ReadOnly)) {
        return translated(QT_TRANSLATE_NOOP("messages", "Failed to open file"));
    }
    const qint64 tailStart = std::max<qint64>(m_file.size() - kEndSize - kMaxComment, 0);
    m_file.seek(tailStart);
    const QByteArray tail = m_file.readAll();
    for (int at = tail.size() - kEndSize; at >= 0; --at) {
        if (number(tail, at) != kEndSignature || word(tail, at + 20) != tail.size() - at - kEndSize) {
            continue; // the comment reaches to the end of the file
        }
        const int count = word(tail, at + 10);
        const qint64 size = number(tail, at + 12);
        m_directoryStart = number(tail, at + 16);
        const bool isOnePart = word(tail, at + 4) == 0 && word(tail, at + 6) == 0 && word(tail, at + 8) == count;
        if (!isOnePart || m_directoryStart + size > tailStart + at || size > kMaxDirectoryBytes) {
            return damaged();
        }
        m_file.seek(m_directoryStart);
        return readEntries(m_file.read(size), count);
    }
    return translated(QT_TRANSLATE_NOOP("messages", "This is no ZIP archive"));
}

std::optional<QString> ZipArchive::readEntries(const QByteArray &directory, int count)
{
    if (count > kMaxEntries) {
        return translated(QT_TRANSLATE_NOOP("messages", "The archive has more than %1 entries")).arg(kMaxEntries);
    }
    int at = 0;
    for (; count > 0; --count) {
        if (directory.size() - at < kEntrySize || number(directory, at) != kEntrySignature) {
            return damaged();
        }
        const int nameSize = word(directory, at + 28);
        const int wholeSize = kEntrySize + nameSize + word(directory, at + 30) + word(directory, at + 32);
        if (directory.size() - at < wholeSize) {
            return damaged();
        }
        Entry entry;
        entry.path = nameOf(directory.mid(at + kEntrySize, nameSize));
        entry.method = word(directory, at + 10);
        entry.checksum = number(directory, at + 16);
        entry.packedSize = number(directory, at + 20);
        entry.size = number(directory, at + 24);
        entry.offset = number(directory, at + 42);
        const bool isOfUnix = directory.at(at + 5) == kUnix;
        if (auto problem = addEntry(std::move(entry), word(directory, at + 8), number(directory, at + 38), isOfUnix)) {
            return problem;
        }
        at += wholeSize;
    }
    return std::nullopt;
}

std::optional<QString> ZipArchive::addEntry(Entry entry, quint16 flags, quint32 attributes, bool isOfUnix)
{
    const QString shown = entry.path;
    entry.isDirectory = shown.endsWith(QLatin1Char('/')) || shown.endsWith(QLatin1Char('\\')) ||
                        (!isOfUnix && (attributes & kFolderAttribute) != 0);
    const std::optional<QString> path = safePath(shown);
    if (!path || (path->isEmpty() && !entry.isDirectory)) {
        return translated(QT_TRANSLATE_NOOP("messages", "%1 leads out of the web folder")).arg(shown);
    }
    entry.path = *path;
    const quint32 type = isOfUnix ? (attributes >> 16) & S_IFMT : 0;
    entry.isDirectory = entry.isDirectory || type == S_IFDIR;
    if (type != 0 && type != S_IFREG && type != S_IFDIR) {
        return translated(QT_TRANSLATE_NOOP("messages", "%1 is a link or no plain file")).arg(shown);
    }
    const bool isKnown = entry.method == kStored ? entry.packedSize == entry.size : entry.method == kDeflated;
    if ((flags & kEncrypted) != 0 || !isKnown) {
        return unknownPacking(shown);
    }
    if (entry.offset + kLocalSize + entry.packedSize > m_directoryStart) {
        return damaged();
    }
    m_unpackedBytes += entry.isDirectory ? 0 : entry.size;
    if (m_unpackedBytes > kMaxUnpackedBytes) {
        return translated(QT_TRANSLATE_NOOP("messages", "The archive unpacks to more than %1 MiB"))
            .arg(kMaxUnpackedBytes / 1024 / 1024);
    }
    m_entries.push_back(std::move(entry));
    return std::nullopt;
}

std::optional<QString> ZipArchive::unpack(const QString &folder)
{
    const QDir top(folder);
    for (const Entry &entry : m_entries) {
        const QString path = top.filePath(entry.path);
        const QString parent = entry.isDirectory ? path : path.left(path.lastIndexOf(QLatin1Char('/')));
        if (!top.mkpath(parent)) {
            return translated(QT_TRANSLATE_NOOP("messages", "Cannot write %1")).arg(entry.path);
        }
        if (entry.isDirectory) {
            continue;
        }
        if (auto problem = unpackFile(entry, path)) {
            return problem;
        }
    }
    return std::nullopt;
}

std::optional<QString> ZipArchive::unpackFile(const Entry &entry, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return translated(QT_TRANSLATE_NOOP("messages", "Cannot write %1")).arg(entry.path);
    }
    if (!seekToData(entry)) {
        return damaged();
    }
    Inflater inflater(entry.method == kDeflated);
    uLong checksum = ::crc32(0, nullptr, 0);
    qint64 written = 0;
    bool canWrite = true;
    const auto take = [&](const char *bytes, int count) {
        written += count;
        if (written > entry.size) { // more than it says
            return false;
        }
        checksum = ::crc32(checksum, reinterpret_cast<const Bytef *>(bytes), static_cast<uInt>(count));
        canWrite = file.write(bytes, count) == count;
        return canWrite;
    };
    bool isGood = true;
    for (qint64 left = entry.packedSize; left > 0 && isGood;) {
        QByteArray piece = m_file.read(std::min<qint64>(left, kPieceBytes));
        left -= piece.size();
        isGood = !piece.isEmpty() && inflater.feed(piece, take);
    }
    if (!canWrite || !file.flush()) {
        return translated(QT_TRANSLATE_NOOP("messages", "Failed to write the file: %1")).arg(file.errorString());
    }
    const bool isWhole = isGood && inflater.isComplete() && written == entry.size && checksum == entry.checksum;
    return isWhole ? std::nullopt : std::optional(damaged());
}

bool ZipArchive::seekToData(const Entry &entry)
{
    if (!m_file.seek(entry.offset)) {
        return false;
    }
    const QByteArray header = m_file.read(kLocalSize);
    if (header.size() != kLocalSize || number(header, 0) != kLocalSignature) {
        return false;
    }
    const qint64 start = entry.offset + kLocalSize + word(header, 26) + word(header, 28);
    return start + entry.packedSize <= m_directoryStart && m_file.seek(start);
}
