#include "compiler/Diagnostics.h"

#include <algorithm>

namespace {
QString severityText(Diagnostic::Severity severity)
{
    return severity == Diagnostic::Severity::Error ? QStringLiteral("error") : QStringLiteral("warning");
}

/// Blanks up to the place, tabs kept so that the caret below the line meets it.
QString caretLine(const Diagnostic &diagnostic)
{
    QString caret;
    int column = diagnostic.sourceColumn;
    for (const QChar character : diagnostic.sourceLine) {
        if (column == diagnostic.column) {
            break;
        }
        if (!character.isLowSurrogate()) {
            caret += character == QLatin1Char('\t') ? character : QLatin1Char(' ');
            ++column;
        }
    }
    return caret + QLatin1Char('^');
}
} // namespace

QString headlineOf(const Diagnostic &diagnostic)
{
    const QString place = diagnostic.line > 0 ? QStringLiteral("%1:%2:%3")
                                                    .arg(diagnostic.file, QString::number(diagnostic.line),
                                                         QString::number(diagnostic.column))
                                              : diagnostic.file;
    return QStringLiteral("%1: %2: %3").arg(place, severityText(diagnostic.severity), diagnostic.message);
}

QString textOf(const Diagnostic &diagnostic, Colour colour)
{
    QString text = headlineOf(diagnostic);
    if (colour == Colour::Yes) {
        const QString word = severityText(diagnostic.severity) + QLatin1Char(':');
        const QString shade = diagnostic.isError() ? QStringLiteral("\033[1;31m") : QStringLiteral("\033[1;35m");
        text.replace(text.indexOf(QStringLiteral(": ") + word) + 2, word.size(),
                     shade + word + QStringLiteral("\033[0m"));
    }
    text += QLatin1Char('\n');
    if (diagnostic.line > 0 && !diagnostic.sourceLine.isNull()) {
        text += diagnostic.sourceLine + QLatin1Char('\n') + caretLine(diagnostic) + QLatin1Char('\n');
    }
    return text;
}

int errorCount(const std::vector<Diagnostic> &diagnostics)
{
    return static_cast<int>(std::count_if(diagnostics.begin(), diagnostics.end(),
                                          [](const Diagnostic &diagnostic) { return diagnostic.isError(); }));
}
