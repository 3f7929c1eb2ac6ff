#pragma once
#include <QByteArray>
#include <QString>

/// Where the process's log messages go: to standard output, one line each.
namespace LogOutput {
/// The bytes to print in the local encoding, without the line end. Empty: nothing is printed, as for a message that
/// begins with "Http" in any case.
QByteArray lineOf(const QString &message);

void install(); // for every message from now on, from any thread
} // namespace LogOutput
