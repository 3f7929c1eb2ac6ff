#pragma once
#include "interp/DeviceStatements.h"
#include "interp/Statements.h"
#include "interp/WaitStatements.h"

using StatementTypes =
    NodeTypes<Statement, SendStringStatement, AssignStatement, CompoundStatement, BlockItemDefStatement, WaitStatement,
              IfStatement, WhileStatement, FuncCallStatement, SendCommandStatement, SendLevelStatement, OnOffStatement,
              CancelWaitStatement, ForStatement, StatementList, IncStatement, DecStatement, ReturnStatement,
              BreakStatement, CallRoutineStatement, SelectStatement, CreateLevelStatement, SwitchStatement,
              ContinueStatement, CreateBufferStatement, CancelAllWaitStatement, ClearBufferStatement>;
