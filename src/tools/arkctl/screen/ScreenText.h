#pragma once
#include <QStringList>

/// Texts on a terminal are measured in columns: a Chinese character takes two, an accent that follows its letter none.
namespace ScreenText {
/// Makes sure that characters have a width: a locale without UTF-8 is replaced by C.UTF-8 in this process.
void useUtf8();

/// What may reach the terminal: control, format and unknown characters as \x1b or \u202e, in hexadecimal digits.
QString printable(const QString &text);

int columnsOf(const QString &printableText);

/// Its first characters: left(), but never half a character.
QString start(const QString &text, int length);

/// The text behind so many columns.
QString without(const QString &printableText, int columns);

/// The text in lines of that many columns, broken at blanks where there are any; what the last one has no room for
/// stands in it all the same.
QStringList wrapped(const QString &printableText, int columns, int mostLines);

/// The text in exactly that many columns: filled up with blanks, or cut at a whole character and ended with "…".
QString fitted(const QString &printableText, int columns);
} // namespace ScreenText
