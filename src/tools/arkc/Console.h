#pragma once
#include <QByteArray>
#include <QString>

namespace arkc {
/// How the tool ends; the numbers are its exit status.
enum class Outcome { Done = 0, Failed = 1, WrongUse = 2 };

Outcome worse(Outcome one, Outcome other);

/// One line on standard error: what is wrong and where, and what to try.
void complain(const QString &whatAndWhere, const QString &tryThis);

/// Bytes to standard output. False: they could not be written; said, unless nobody reads them any more.
bool print(const QByteArray &bytes);
} // namespace arkc
