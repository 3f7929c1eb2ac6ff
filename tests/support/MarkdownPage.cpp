#include "support/MarkdownPage.h"

std::vector<CodeBlock> codeBlocksOf(const QString &page)
{
    enum class Inside { Text, Code, Plays };
    static const QString fence = QStringLiteral("```");
    std::vector<CodeBlock> blocks;
    QString heading;
    Inside inside = Inside::Text;
    int number = 0;
    for (const QString &line : page.split(QLatin1Char('\n'))) {
        ++number;
        if (inside == Inside::Code && line == fence) {
            inside = Inside::Text;
        } else if (inside == Inside::Code) {
            blocks.back().code << line;
        } else if (inside == Inside::Plays && line == QLatin1String("-->")) {
            inside = Inside::Text;
        } else if (inside == Inside::Plays) {
            blocks.back().plays << line;
        } else if (line.startsWith(fence)) {
            blocks.push_back({ heading, line.mid(fence.size()).trimmed(), number + 1, {}, {} });
            inside = Inside::Code;
        } else if (line == QLatin1String("<!-- plays") && !blocks.empty()) {
            inside = Inside::Plays;
        } else if (line.startsWith(QLatin1Char('#'))) {
            heading = line.section(QLatin1Char(' '), 1);
        }
    }
    return blocks;
}
