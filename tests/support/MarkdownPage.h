#pragma once
#include <QString>
#include <QStringList>

#include <vector>

/// A fenced block of code on a page, and the comment behind it that says what comes of it:
///
///     ```arkivon statements
///     on [dvRelay, 3]
///     ```
///     <!-- plays
///     = on 5001:9:0 3
///     -->
///
/// Readers do not see the comment. Its lines are those of ScriptedProgram, without the slashes.
struct CodeBlock
{
    QString heading; // the one that it stands under, without the #
    QString kind;    // the words behind the fence
    int line = 0;    // of its first line of code, from 1
    QStringList code;
    QStringList plays;
};

/// The fenced blocks of a page, in order. A fence that is not closed ends with the page.
std::vector<CodeBlock> codeBlocksOf(const QString &page);
