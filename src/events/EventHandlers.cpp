#include "events/EventHandlers.h"

#include "interp/nodes/Statements.h"
#include "program/NodeStream.h"

// How the handlers match events is in HandlerTable.

const NodeTables &programNodes()
{
    using Parts = NodeTypes<SubEventHandler, OnlineSubEventHandler, StringSubEventHandler, PushSubEventHandler,
                            HoldSubEventHandler, ReleaseSubEventHandler, OfflineSubEventHandler, OnErrorSubEventHandler,
                            CommandSubEventHandler>;
    static const NodeTables tables{ expressionTable(), statementTable(), nodeTable(Parts()),
                                    nodeTable(EventHandlerTypes()) };
    return tables;
}
