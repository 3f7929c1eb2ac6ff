#pragma once
#include "model/ProgramContext.h"
#include "model/StructType.h"

/// A numeric variable bound to a level of a device, in both directions.
struct LevelAssociation
{
    DeviceAddress device{};
    int levelCode = 0;
    QString variable{}; // as written; matched exactly against upper-cased names on the way out

    static void fields(auto &node, auto &visit)
    {
        visit(node.device.number, node.device.port, node.device.system, node.levelCode, node.variable);
    }
    void wasRead(ProgramContext &program) const { program.noteBound(Name(variable)); }
};
