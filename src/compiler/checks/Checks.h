#pragma once
#include "compiler/checks/DeviceChecks.h"
#include "compiler/checks/UsageChecks.h"

/// What is looked at beyond the rules of the language, by the parsers as they go. Of things that the runtime defines
/// these are warnings: a program may mean them.
struct Checks
{
    explicit Checks(Workspace &workspace)
        : expressions(workspace)
        , devices(workspace)
        , usage(workspace)
    {
        workspace.checks = this;
    }

    ExpressionChecks expressions;
    DeviceChecks devices;
    UsageChecks usage;
};
