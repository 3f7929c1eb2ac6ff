#include "compiler/Sources.h"

#include "compiler/lexing/Lexer.h"

#include <QFile>
#include <QRegularExpression>
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

/// Without the column, which takes as long as the line.
LineAndColumn locateLine(const Sources::File &file, int offset)
{
    const auto next = std::upper_bound(file.lineStarts.begin(), file.lineStarts.end(), offset);
    return { static_cast<int>(next - file.lineStarts.begin()), 1, *std::prev(next) };
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

void Sources::report(Fault code, SourcePosition position, const QString &message)
{
    m_found += messageOf(code).severity == Diagnostic::Severity::Error ? 1 : 0;
    if (m_errors >= kMostErrors || !m_known.insert({ { position.file, position.offset }, message }).second) {
        return;
    }
    const Message &row = messageOf(code);
    const File &source = file(position.file);
    const LineAndColumn place = locate(source, position.offset);
    if (isSilenced(code, position, place.line)) {
        return;
    }
    Diagnostic diagnostic{ row.severity, source.name, place.line, place.column, message };
    diagnostic.code = QString::fromLatin1(row.name);
    diagnostic.length = lengthAt(source.text, position.offset);
    diagnostic.sourceLine = lineAround(source.text, position.offset, place, diagnostic.sourceColumn);
    m_remarks.push_back({ position, diagnostic });
    if (diagnostic.isError() && ++m_errors == kMostErrors) {
        diagnostic.message = QStringLiteral("too many errors; the rest is not shown");
        m_remarks.push_back({ position, diagnostic });
    }
}

bool Sources::isSilenced(Fault code, SourcePosition position, int line)
{
    if (messageOf(code).severity == Diagnostic::Severity::Warning) {
        static const QRegularExpression kAccepted(QStringLiteral("//\\s*arkc:\\s*ok\\b[^\n]*$"));
        const File &source = file(position.file);
        const int start = source.lineStarts.at(static_cast<size_t>(line) - 1);
        const int end = source.text.indexOf(QLatin1Char('\n'), start);
        return kAccepted.match(source.text.mid(start, end < 0 ? -1 : end - start)).hasMatch();
    }
    const bool isOfForm = code >= Fault::BadCharacter && code <= Fault::QuotedText;
    return isOfForm && !m_badLines.insert({ position.file, line }).second;
}

void Sources::report(Fault code, SourcePosition position, const QStringList &arguments)
{
    QString message = QString::fromUtf8(messageOf(code).text);
    for (int i = 0; i < arguments.size(); ++i) {
        message.replace(QStringLiteral("%%1").arg(i + 1), arguments.at(i));
    }
    report(code, position, message);
}

void Sources::reportName(Fault code, SourcePosition position, const QString &name, const QString &message)
{
    ++m_found;
    if (m_isIncomplete) {
        return;
    }
    const auto [known, isNew] = m_unknownNames.insert({ { code, name.toUpper() }, m_remarks.size() });
    if (isNew) {
        report(code, position, message);
    } else if (known->second < m_remarks.size()) {
        ++m_remarks[known->second].moreUses;
    }
}

bool Sources::hasBadLine(SourcePosition from, SourcePosition to) const
{
    const auto found = m_badLines.lower_bound({ from.file, lineOf(from) });
    return found != m_badLines.end() && *found <= std::pair(to.file, lineOf(to));
}

int Sources::lineOf(SourcePosition position) const
{
    return locateLine(file(position.file), position.offset).line;
}

int Sources::indentOf(SourcePosition position) const
{
    constexpr int kTab = 4;
    const File &source = file(position.file);
    int indent = 0;
    for (int i = locateLine(source, position.offset).lineStart; i < position.offset; ++i) {
        indent += source.text.at(i) == QLatin1Char('\t') ? kTab - indent % kTab : 1;
    }
    return indent;
}

SourcePosition Sources::firstOfLine(SourcePosition position) const
{
    const File &source = file(position.file);
    int first = locateLine(source, position.offset).lineStart;
    while (first < position.offset && source.text.at(first).isSpace()) {
        ++first;
    }
    return { position.file, first };
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
        if (remark.moreUses > 0) {
            diagnostics.back().message += QStringLiteral(" (and %1 more use%2)")
                                              .arg(remark.moreUses)
                                              .arg(remark.moreUses == 1 ? QString() : QStringLiteral("s"));
        }
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
