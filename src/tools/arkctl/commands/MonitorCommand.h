#pragma once
#include "net/link/MonitorPast.h"
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/MonitorFilter.h"
#include "tools/arkctl/Rendering.h"
#include <QDateTime>

#include <optional>

/// What arkctl monitor is asked to show.
struct MonitorWish
{
    enum class Then { Follow, End };

    MonitorFilter filter;
    std::optional<qint64> sinceMs; // so long ago; nothing: no lines of the past
    Then afterPast = Then::Follow; // what to do when they have been shown
    std::optional<int> durationMs; // nothing: until interrupted
    Rendering::Form form = Rendering::Form::Text;
    Rendering::Hex hex = Rendering::Hex::WhereNoText;
};

/// arkctl monitor: shows lines of the past, if wanted, then the controller's monitor lines as they come.
/// Owns, Thread, Ends: as LinkRun.
class MonitorCommand final : public LinkRun
{
    Q_OBJECT
public:
    MonitorCommand(const RunOptions &options, const MonitorWish &wish);

protected:
    void begin() override;
    void unanswered() override;

private:
    struct Line
    {
        QDateTime when;
        int type = 0;
        QString text;
    };
    void takeLive(const Line &line);
    void takePast(const MonitorPast::Reply &reply);
    void meetSeam(const MonitorPast::Seam &seam);
    void endPast();
    void show(const Line &line);

    enum class At {
        Question, // asked for the past: what comes live is in it
        Past,     // what comes live follows it
        Present
    };
    const MonitorWish m_wish;
    At m_at = At::Present;
    qint64 m_clockAheadMs = 0; // how much this machine's clock is ahead of the controller's
    std::vector<Line> m_held;  // live lines that wait for the end of the past
};
