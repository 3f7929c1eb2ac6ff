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

QString fitted(const QString &printableText, int columns)
{
    if (columns <= 0) {
        return {};
    }
    const int whole = columnsOf(printableText);
    if (whole <= columns) {
        return printableText + QString(columns - whole, QLatin1Char(' '));
    }
    QString shown;
    int used = 0;
    const QVector<uint> codes = printableText.toUcs4();
    for (const uint code : codes) {
        if (used + columnsOf(code) > columns - 1) { // the last column is that of the dots
            break;
        }
        shown += QString::fromUcs4(&code, 1);
        used += columnsOf(code);
    }
    return shown + QChar(0x2026) + QString(columns - 1 - used, QLatin1Char(' '));
}
} // namespace ScreenText
