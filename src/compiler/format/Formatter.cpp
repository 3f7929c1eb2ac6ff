#include "compiler/format/Formatter.h"

#include "compiler/format/FormatLines.h"
#include "compiler/format/FormatStructure.h"

namespace {
/// Blocks that are too long for one line by themselves need not be tried.
void openLongBlocks(std::vector<FormatToken> &tokens)
{
    std::vector<int> widths(tokens.size() + 1);
    for (size_t i = 0; i < tokens.size(); ++i) {
        widths[i + 1] = widths[i] + tokens[i].text.size();
    }
    for (size_t i = 0; i < tokens.size(); ++i) {
        if (tokens[i].isFlat && widths[static_cast<size_t>(tokens[i].partner)] - widths[i] > kLongestLine) {
            tokens[i].isFlat = false;
        }
    }
}

/// The outermost flat blocks of a line get lines for their statements. False: it has none.
bool openBlocks(const LayoutLine &line, std::vector<FormatToken> &tokens)
{
    bool hasOpened = false;
    int behind = -1;
    for (const LayoutItem &item : line.items) {
        if (item.token <= behind || item.token < 0) {
            continue;
        }
        FormatToken &token = tokens[static_cast<size_t>(item.token)];
        if (token.isFlat) {
            token.isFlat = false;
            hasOpened = true;
            behind = token.partner;
        }
    }
    return hasOpened;
}

std::vector<FormattedLine> formattedLines(std::vector<FormatToken> &tokens)
{
    while (true) {
        std::vector<FormattedLine> lines;
        bool hasOpened = false;
        for (const LayoutLine &line : layOut(tokens)) {
            bool isTooLong = false;
            std::vector<FormattedLine> pieces = linesOf(line, tokens, isTooLong);
            if (isTooLong || pieces.size() > 1) {
                hasOpened = openBlocks(line, tokens) || hasOpened;
            }
            std::move(pieces.begin(), pieces.end(), std::back_inserter(lines));
        }
        if (!hasOpened) {
            return lines;
        }
    }
}
} // namespace

FormattedSource formatSource(const QString &text, const QString &fileName)
{
    Sources sources;
    std::vector<FormatToken> tokens = formatTokensOf(sources, sources.add(fileName, text));
    FormattedSource result;
    if (!sources.hasErrors() && annotate(tokens, sources)) {
        openLongBlocks(tokens);
        std::vector<FormattedLine> lines = formattedLines(tokens);
        align(lines);
        result.text = textOf(lines);
    }
    result.diagnostics = sources.takeDiagnostics();
    return result;
}

FormattedBytes formatBytes(const QByteArray &bytes, const QString &fileName)
{
    const ReadSource source = decodeSource(bytes);
    if (!source.problem.isNull()) {
        return { {},
                 { { Diagnostic::Severity::Error, fileName, source.line, source.line > 0 ? 1 : 0, source.problem } } };
    }
    const FormattedSource formatted = formatSource(source.text, fileName);
    FormattedBytes result{ formatted.text.toUtf8(), formatted.diagnostics };
    const int lineEnd = bytes.indexOf('\n');
    if (lineEnd > 0 && bytes.at(lineEnd - 1) == '\r') {
        result.bytes.replace("\n", "\r\n");
    }
    const QByteArray mark = QByteArray::fromHex("efbbbf");
    if (bytes.startsWith(mark) && formatted.isGood()) {
        result.bytes.prepend(mark);
    }
    return result;
}
