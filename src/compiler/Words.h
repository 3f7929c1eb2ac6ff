#pragma once
#include <QString>
#include <QStringList>

/// The words of the language. All are compared in any case.

int typeCodeOfWord(const QString &word);      // 10 to 18; devchan 200, devlev 201; -1: not the name of a built-in type
int storageCodeOfWord(const QString &word);   // 100 to 102; -1: no storage class
int placementCodeOfWord(const QString &word); // 103, 104; -1: no placement
QString wordOfTypeCode(int code);             // empty for a code that is not built in
QString wordOfStorageCode(int code);
QString wordOfPlacementCode(int code);

/// Words that begin a declaration of the program and can stand nowhere else.
bool isProgramWord(const QString &word);
QStringList declarationWords(); // for suggestions
QStringList statementWords();
QStringList allWords(); // reserved or not, without the names of event parts; for what colours sources

/// Words that a program cannot use as the name of a variable, function, routine, type or parameter.
bool isReservedWord(const QString &word);

/// on, off, to and pulse: words of the language before a bracket, else possible names.
bool isSwitchingWord(const QString &word);

/// Why a name cannot be given to a variable; empty when it can.
QString nameProblem(const QString &name, bool isArray);

/// Whether the source form can write a text as a name, and as that of a member, which may be a word of the language.
bool isPlainName(const QString &text);
bool isMemberName(const QString &text);

/// What to write in place of a word of other languages; empty for any other.
QString otherLanguageAdvice(const QString &word);

/// The candidate that a mistyped name most likely means; empty when none is close.
QString closestName(const QString &written, const QStringList &candidates);
