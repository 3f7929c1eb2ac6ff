#include "tools/arkctl/screen/ScreenText.h"
#include <QVector>

#include <algorithm>
#include <clocale>
#include <cwchar>

#include <langinfo.h>

namespace ScreenText {
namespace {
bool isShownAsIs(uint code)
{
    switch (QChar::category(code)) {
    case QChar::Other_Control:
    case QChar::Other_Format: // among them those that turn the direction of writing
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return ::wcwidth(static_cast<wchar_t>(code)) >= 0;
    }
}

int columnsOf(uint code)
{
    return std::max(0, ::wcwidth(static_cast<wchar_t>(code)));
}

/// How much of the text takes no more columns; an accent stays with its letter.
int lengthWithin(const QString &text, int columns)
{
    int length = 0;
    int used = 0;
    const QVector<uint> codes = text.toUcs4();
    for (const uint code : codes) {
        used += columnsOf(code);
        if (used > columns) {
            break;
        }
        length += QChar::requiresSurrogates(code) ? 2 : 1;
    }
    return length;
}

QString escaped(uint code)
{
    return code < 0x100 ? QStringLiteral("\\x%1").arg(code, 2, 16, QLatin1Char('0'))
                        : QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0'));
}
} // namespace

void useUtf8()
{
    if (qstrcmp(::nl_langinfo(CODESET), "UTF-8") != 0) {
        std::setlocale(LC_CTYPE, "C.UTF-8");
    }
}

QString printable(const QString &text)
{
    QString shown;
    const QVector<uint> codes = text.toUcs4();
    for (const uint code : codes) {
        shown += isShownAsIs(code) ? QString::fromUcs4(&code, 1) : escaped(code);
    }
    return shown;
}

int columnsOf(const QString &printableText)
{
    int columns = 0;
    const QVector<uint> codes = printableText.toUcs4();
    for (const uint code : codes) {
        columns += columnsOf(code);
    }
    return columns;
}

QString start(const QString &text, int length)
{
    const bool isHalf = length > 0 && length < text.size() && text.at(length - 1).isHighSurrogate();
    return text.left(isHalf ? length - 1 : length);
}

QString without(const QString &printableText, int columns)
{
    return columns > 0 ? printableText.mid(lengthWithin(printableText, columns)) : printableText;
}

QStringList wrapped(const QString &printableText, int columns, int mostLines)
{
    QStringList lines;
    QString rest = printableText;
    while (lines.size() + 1 < mostLines && columnsOf(rest) > columns) {
        const int fitting = lengthWithin(rest, columns);
        const int blank = rest.lastIndexOf(QLatin1Char(' '), fitting);
        const int length = blank > fitting / 2 ? blank : fitting; // not for a short word at the beginning
        if (length == 0) {                                        // not even one character
            break;
        }
        lines << rest.left(length);
        rest = rest.mid(length).trimmed();
    }
    return lines << rest;
}

QString fitted(const QString &printableText, int columns)
{
    if (columns <= 0) {
        return {};
    }
    const int whole = columnsOf(printableText);
    if (whole <= columns) {
        return printableText + QString(columns - whole, QLatin1Char(' '));
    }
    const QString shown = printableText.left(lengthWithin(printableText, columns - 1)); // then the dots
    return shown + QChar(0x2026) + QString(columns - 1 - columnsOf(shown), QLatin1Char(' '));
}
} // namespace ScreenText
