#pragma once
#include "compiler/Diagnostics.h"

#include <QByteArray>

#include <optional>

namespace arkc {
/// The name that stands for standard input.
inline const QString kStandardInput = QStringLiteral("-");

/// What was read of a file or of standard input.
struct Input
{
    QString name; // as it stands in messages
    QByteArray bytes;
    QString problem; // why there is nothing, and what to try; empty: it was read
};
Input readInput(const QString &path, const QString &nameOfStandardInput = {});

/// Why bytes are no source text, and what to try, as the compiler would say it; nothing: they may be one.
enum class Emptiness { Allowed, Refused };
std::optional<Diagnostic> sourceProblem(const Input &input, Emptiness emptiness);

/// Replaces a file whole, or not at all: links are followed, rights and owner stay. What is no plain file, such as
/// /dev/stdout, is written to as it is. False: said on standard error.
bool writeFile(const QString &path, const QByteArray &bytes);
} // namespace arkc
