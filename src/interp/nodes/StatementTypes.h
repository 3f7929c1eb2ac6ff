#pragma once
#include "interp/nodes/DeviceStatements.h"
#include "interp/nodes/Statements.h"
#include "interp/nodes/WaitStatements.h"

using StatementTypes =
    NodeTypes<Statement, SendStringStatement, AssignStatement, CompoundStatement, BlockItemDefStatement, WaitStatement,
              IfStatement, WhileStatement, FuncCallStatement, SendCommandStatement, SendLevelStatement, OnOffStatement,
              CancelWaitStatement, ForStatement, StatementList, IncStatement, DecStatement, ReturnStatement,
              BreakStatement, CallRoutineStatement, SelectStatement, CreateLevelStatement, SwitchStatement,
              ContinueStatement, CreateBufferStatement, CancelAllWaitStatement, ClearBufferStatement>;
