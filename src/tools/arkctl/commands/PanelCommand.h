#pragma once
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/PanelActions.h"
#include "tools/arkctl/PanelState.h"
#include "tools/arkctl/Rendering.h"

#include <deque>
#include <optional>

class LineInput;
class QTimer;

/// arkctl panel with actions: is a touch panel that pushes and releases buttons, moves levels and shows what the
/// controller sends. Each step waits for the acknowledgement of the one before; a line of standard input is read when
/// those before it are done.
/// Owns, Thread, Ends: as LinkRun.
class PanelCommand final : public LinkRun
{
    Q_OBJECT
public:
    /// \param watchMs  how long to watch after the last step; nothing: until interrupted
    PanelCommand(const RunOptions &options, int device, const PanelScript &script, std::optional<int> watchMs,
                 Rendering::Form form);

protected:
    void begin() override;

private:
    void next();
    void perform(const PanelAction &action);
    void end(); // of the actions
    void takeLine(const std::string &line);
    void take(const LinkMessage &message);

    std::deque<PanelAction> m_actions; // to be done
    bool m_watches = false;
    const std::optional<int> m_watchMs;
    const Rendering::Form m_form;
    PanelState m_state;
    QTimer *m_patience = nullptr; // Qt child; runs while an acknowledgement is awaited
    LineInput *m_input = nullptr; // Qt child; nullptr: not read
    quint32 m_awaitedId = 0;
};
