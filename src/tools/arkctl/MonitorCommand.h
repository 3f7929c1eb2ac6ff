#pragma once
#include "tools/arkctl/LinkRun.h"
#include "tools/arkctl/Rendering.h"

/// arkctl monitor: shows the controller's monitor lines as they come, until it is interrupted.
/// Owns, Thread, Ends: as LinkRun.
class MonitorCommand final : public LinkRun
{
    Q_OBJECT
public:
    MonitorCommand(const RunOptions &options, Rendering::Form form);

protected:
    void begin() override {}
};
