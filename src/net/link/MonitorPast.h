#pragma once
#include "base/MonitorHistory.h"
#include <QByteArray>

#include <optional>
#include <variant>
#include <vector>

/// The replies to a tool's question for monitor lines of the past: what follows "monitorhistory:" in a frame 2E.
/// Source: docs/formats/link-frame.md, "Lines of the past".
namespace MonitorPast {
/// No history is kept.
struct NotKept
{};

/// Lines that came live before this are in the history, those that come after it are not.
struct Seam
{
    qint64 nowMs = 0;       // the controller's clock
    qint64 lostUntilMs = 0; // as in MonitorHistory::Past
};

using Lines = std::vector<MonitorHistory::Line>; // oldest first; there may be several

/// All has been told.
struct End
{};

using Reply = std::variant<NotKept, Seam, Lines, End>;

QByteArray encode(const Reply &reply); // with the keyword
std::optional<Reply> parse(const QByteArray &text);

/// The lines in pieces, each of which makes a frame of some 32 KiB at most.
std::vector<Lines> pages(const Lines &lines);
} // namespace MonitorPast
