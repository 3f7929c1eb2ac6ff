#pragma once
#include <QDateTime>

#include <string>
#include <variant>

/// How long ago something was, in milliseconds: "90s", "10m", "2h", "1d", "1h30m"; "14:05" or "14:05:30", which is the
/// last time that it was so; "2026-11-23 14:05" with or without seconds. Otherwise a text says what is wrong.
std::variant<qint64, std::string> parseSince(const std::string &text, const QDateTime &now);
