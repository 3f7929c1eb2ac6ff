#pragma once
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/PanelActions.h"
#include "tools/arkctl/PanelState.h"
#include "tools/arkctl/Rendering.h"

#include <optional>

class QTimer;

/// arkctl panel: is a touch panel that pushes and releases buttons, moves levels and shows what the controller sends.
/// Each step waits for the acknowledgement of the one before.
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
    void take(const LinkMessage &message);

    const PanelScript m_script;
    const std::optional<int> m_watchMs;
    const Rendering::Form m_form;
    PanelState m_state;
    QTimer *m_patience = nullptr; // Qt child; runs while an acknowledgement is awaited
    size_t m_next = 0;
    quint32 m_awaitedId = 0;
};
