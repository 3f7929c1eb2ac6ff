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

LineAndColumn locate(const QString &text, int offset)
{
    LineAndColumn place;
    const int end = std::min(offset, text.size());
    for (int i = 0; i < end; ++i) {
        const QChar character = text.at(i);
        if (character == QLatin1Char('\n')) {
            ++place.line;
            place.column = 1;
            place.lineStart = i + 1;
        } else if (!character.isLowSurrogate()) {
            ++place.column;
        }
    }
    return place;
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
    firstColumn = place.column - locate(text.mid(start, offset - start), offset - start).column + 1;
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
    return locate(text.mid(offset, end - offset), end - offset).column - 1;
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
    m_files.push_back({ name, lines });
    return static_cast<int>(m_files.size()) - 1;
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
    const LineAndColumn place = locate(source.text, position.offset);
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
    for (const Remark &remark : m_remarks) {
        diagnostics.push_back(remark.diagnostic);
    }
    m_remarks.clear();
    return diagnostics;
}

QString Sources::lineReference(SourcePosition position, SourcePosition nearTo) const
{
    const File &source = file(position.file);
    const QString line = QString::number(locate(source.text, position.offset).line);
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
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        return { QString(), QStringLiteral("cannot be read: %1").arg(file.errorString()) };
    }
    return decodeSource(bytes);
}
