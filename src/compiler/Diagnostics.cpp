#include "compiler/Diagnostics.h"

#include <algorithm>

namespace {
QString severityText(Diagnostic::Severity severity)
{
    return severity == Diagnostic::Severity::Error ? QStringLiteral("error") : QStringLiteral("warning");
}

/// The source line, or the part around the place of a long one, and below it the caret. Tabs are kept in both, so that
/// the caret meets its place.
QString sourceExtract(const Diagnostic &diagnostic)
{
    constexpr int kLongest = 160;
    constexpr int kBefore = 100;
    int offset = 0; // of the column, in UTF-16 units
    for (int column = 1; column < diagnostic.column && offset < diagnostic.sourceLine.size(); ++column) {
        offset += diagnostic.sourceLine.at(offset).isHighSurrogate() ? 2 : 1;
    }
    const bool isLong = diagnostic.sourceLine.size() > kLongest;
    const int start = isLong ? std::max(0, offset - kBefore) : 0;
    QString blanks;
    for (const QChar character : diagnostic.sourceLine.mid(start, offset - start)) {
        if (!character.isLowSurrogate()) {
            blanks += character == QLatin1Char('\t') ? character : QLatin1Char(' ');
        }
    }
    return diagnostic.sourceLine.mid(start, kLongest) + QLatin1Char('\n') + blanks + QStringLiteral("^\n");
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
    if (diagnostic.line > 0) {
        text += sourceExtract(diagnostic);
    }
    return text;
}

int errorCount(const std::vector<Diagnostic> &diagnostics)
{
    return static_cast<int>(std::count_if(diagnostics.begin(), diagnostics.end(),
                                          [](const Diagnostic &diagnostic) { return diagnostic.isError(); }));
}
