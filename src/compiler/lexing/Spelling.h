#pragma once
#include <QStringList>

/// What to write in place of a word of other languages; empty for any other.
QString otherLanguageAdvice(const QString &word);

/// The candidate that a mistyped name most likely means; empty when none is close.
QString closestName(const QString &written, const QStringList &candidates);
