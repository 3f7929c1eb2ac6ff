#include "compiler/Sources.h"

#include "compiler/Lexer.h"

#include <QFile>
#include <QTextCodec>

#include <algorithm>
#include <memory>

namespace {
struct LineAndColumn
{
    int line = 1;
    int column = 1;
    int lineStart = 0;
};

int widthOf(const QString &text, int start, int end)
{
    int width = 0;
    for (int i = start; i < std::min(end, text.size()); ++i) {
        width += text.at(i).isLowSurrogate() ? 0 : 1;
    }
    return width;
}

LineAndColumn locate(const Sources::File &file, int offset)
{
    const int end = std::min(offset, file.text.size());
    const auto next = std::upper_bound(file.lineStarts.begin(), file.lineStarts.end(), end);
    const int start = *std::prev(next);
    return { static_cast<int>(next - file.lineStarts.begin()), widthOf(file.text, start, end) + 1, start };
}

/// The line of a place, or of a long line the part around it. firstColumn: where that part begins.
QString lineAround(const QString &text, int offset, const LineAndColumn &place, int &firstColumn)
{
    constexpr int kBefore = 100;
    constexpr int kLongest = 160;
    const int lineEnd = text.indexOf(QLatin1Char('\n'), offset);
    const int length = (lineEnd < 0 ? text.size() : lineEnd) - place.lineStart;
    if (length <= kLongest) {
        return text.mid(place.lineStart, length);
    }
    int start = std::max(place.lineStart, offset - kBefore);
    if (start > place.lineStart && text.at(start).isLowSurrogate()) {
        --start;
    }
    firstColumn = place.column - widthOf(text, start, offset);
    return text.mid(start, std::min(kLongest, place.lineStart + length - start));
}

/// Characters of the word, number or text that begins at a place; 1 of a sign, 0 at a line end.
int lengthAt(const QString &text, int offset)
{
    const auto at = [&text](int i) { return i < text.size() ? text.at(i) : QChar(QLatin1Char('\n')); };
    int end = offset;
    if (at(offset) == QLatin1Char('\'')) {
        do {
            ++end;
        } while (at(end) != QLatin1Char('\'') && at(end) != QLatin1Char('\n'));
        end += at(end) == QLatin1Char('\'') ? 1 : 0;
    } else if (isNamePart(at(offset)) || at(offset) == QLatin1Char('$')) {
        do {
            ++end;
        } while (isNamePart(at(end)));
    } else if (at(offset) != QLatin1Char('\n')) {
        ++end;
    }
    return widthOf(text, offset, end);
}

/// Whether bytes are well-formed UTF-8 and nothing is left over at their end.
bool isUtf8(const QByteArray &bytes)
{
    QTextCodec *const codec = QTextCodec::codecForName("UTF-8");
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    codec->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}
} // namespace

int Sources::add(const QString &name, const QString &text)
{
    QString lines = text;
    lines.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    lines.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    std::vector<int> starts{ 0 };
    for (int end = lines.indexOf(QLatin1Char('\n')); end >= 0; end = lines.indexOf(QLatin1Char('\n'), end + 1)) {
        starts.push_back(end + 1);
    }
    m_files.push_back({ name, lines, std::move(starts) });
    return static_cast<int>(m_files.size()) - 1;
}

QStringList Sources::names() const
{
    QStringList names;
    for (const File &file : m_files) {
        names << file.name;
    }
    return names;
}

void Sources::error(SourcePosition position, const QString &message)
{
    add(Diagnostic::Severity::Error, position, message);
}

void Sources::warning(SourcePosition position, const QString &message)
{
    add(Diagnostic::Severity::Warning, position, message);
}

void Sources::fileError(const QString &name, const QString &message)
{
    ++m_errors;
    m_remarks.push_back({ { -1, 0 }, { Diagnostic::Severity::Error, name, 0, 0, message } });
}

void Sources::add(Diagnostic::Severity severity, SourcePosition position, const QString &message)
{
    if (m_errors >= kMostErrors || !m_known.insert({ { position.file, position.offset }, message }).second) {
        return;
    }
    const File &source = file(position.file);
    const LineAndColumn place = locate(source, position.offset);
    Diagnostic diagnostic{ severity, source.name, place.line, place.column, message };
    diagnostic.length = lengthAt(source.text, position.offset);
    diagnostic.sourceLine = lineAround(source.text, position.offset, place, diagnostic.sourceColumn);
    m_remarks.push_back({ position, diagnostic });
    if (severity == Diagnostic::Severity::Error && ++m_errors == kMostErrors) {
        diagnostic.message = QStringLiteral("too many errors; the rest is not shown");
        m_remarks.push_back({ position, diagnostic });
    }
}

std::vector<Diagnostic> Sources::takeDiagnostics()
{
    std::stable_sort(m_remarks.begin(), m_remarks.end(), [](const Remark &a, const Remark &b) {
        return std::pair(a.position.file, a.position.offset) < std::pair(b.position.file, b.position.offset);
    });
    std::vector<Diagnostic> diagnostics;
    diagnostics.reserve(m_remarks.size());
    for (const Remark &remark : m_remarks) {
        diagnostics.push_back(remark.diagnostic);
    }
    m_remarks.clear();
    return diagnostics;
}

QString Sources::lineReference(SourcePosition position, SourcePosition nearTo) const
{
    const File &source = file(position.file);
    const QString line = QString::number(locate(source, position.offset).line);
    return position.file == nearTo.file ? QStringLiteral("line %1").arg(line)
                                        : QStringLiteral("%1:%2").arg(source.name, line);
}

ReadSource decodeSource(const QByteArray &bytes)
{
    const int zero = bytes.indexOf('\0');
    if (zero >= 0) {
        return { QString(), QStringLiteral("the file holds a NUL byte; it is no source text"),
                 bytes.left(zero).count('\n') + 1 };
    }
    if (!isUtf8(bytes)) {
        int line = 1;
        for (const QByteArray &piece : bytes.split('\n')) { // no UTF-8 character holds a line feed
            if (!isUtf8(piece)) {
                break;
            }
            ++line;
        }
        return { QString(), QStringLiteral("the file is not UTF-8 text"), line };
    }
    const QString text = QString::fromUtf8(bytes); // drops a byte order mark
    return { text.isNull() ? QStringLiteral("") : text, QString() };
}

ReadSource readSource(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return { QString(), QStringLiteral("cannot be read: %1").arg(file.errorString()) };
    }
    const ReadBytes read = readBytes(file);
    return read.problem.isNull() ? decodeSource(read.bytes)
                                 : ReadSource{ QString(), QStringLiteral("cannot be read: %1").arg(read.problem) };
}

ReadBytes readBytes(QFileDevice &file)
{
    constexpr int kMost = 256 * 1024 * 1024;
    constexpr int kPiece = 1024 * 1024;
    QByteArray bytes;
    bool isTooLarge = file.size() > kMost; // of a pipe it is not known
    for (QByteArray piece; !isTooLarge && !(piece = file.read(kPiece)).isEmpty();) {
        bytes += piece;
        isTooLarge = bytes.size() > kMost;
    }
    if (isTooLarge) {
        return { {}, QStringLiteral("it is larger than 256 MB") };
    }
    return file.error() == QFileDevice::NoError ? ReadBytes{ bytes, QString() } : ReadBytes{ {}, file.errorString() };
}
