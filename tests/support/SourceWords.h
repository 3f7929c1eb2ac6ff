#pragma once
#include "compiler/format/FormatTokens.h"

#include <QStringList>

/// What a source must keep when it is laid out: its tokens without the case of keywords and without semicolons, which
/// may go at line ends, and then its comments, without blanks at the ends of their lines.
inline QStringList wordsOf(const QString &text)
{
    Sources sources;
    QStringList tokens;
    QStringList comments;
    for (const FormatToken &token : formatTokensOf(sources, sources.add(QStringLiteral("content"), text))) {
        if (!token.is(TokenKind::Semicolon)) {
            tokens += token.is(TokenKind::Text) ? token.text : token.text.toLower();
        }
        for (const SourceComment &comment : token.comments) {
            for (const QString &line : comment.text.split(QLatin1Char('\n'))) {
                comments += line.trimmed();
            }
        }
    }
    return tokens + comments;
}
