#pragma once
#include <QAbstractSocket>

// The numbers of error events. They are those of QAbstractSocket::SocketError; docs/operating.md lists them.

constexpr int kNoSocketError = -2; // no number of an event

/// The number for a failed system call.
/// \param systemError  an errno value
int socketErrorOf(int systemError);

/// What an event's number means, in the operator's language.
QString socketErrorText(int number);
