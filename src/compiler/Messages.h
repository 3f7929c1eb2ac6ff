#pragma once
#include "compiler/Diagnostics.h"

#include <span>

/// What the compiler can have to say. Each has a name that editors see and docs/language.md explains.
enum class Fault : quint8 {
    Unreadable,
    Include,
    BadCharacter,
    BadNumber,
    UnclosedText,
    UnclosedComment,
    UnclosedBracket,
    Syntax,
    UnknownWord,
    OtherLanguage,
    QuotedText,
    TooDeep,
    UnknownName,
    UnknownFunction,
    UnknownRoutine,
    UnknownType,
    UnknownMember,
    WrongCall,
    ArgumentCount,
    ArgumentKind,
    WrongType,
    StepTarget,
    ListForm,
    GlobalNeeded,
    DuplicateName,
    ReservedWord,
    Definition,
    ConstantChanged,
    ConstantValue,
    InitialValue,
    ArraySize,
    Structure,
    DeviceAddress,
    DuplicateCase,
    EmptyCase,
    JumpOutside,
    ForCondition,
    TimelineLength,
    Refused,
    Unused,
    UnusedFunction,
    Unreachable,
    ConstantCondition,
    CapturedLocal,
    LostResult,
    NoResult,
    MissingReturn,
    ValueRange,
    TooLong,
    IndexRange,
    ArgumentNumber,
    ZeroDivisor,
    UnguardedOperand,
    ChainedAssignment,
    LiteralOperand,
    TextNumber,
    TextSum,
    EscapeInText,
    PushList,
    UndeclaredDevice,
    NoVirtualDevice,
    PortUse,
    DuplicatePart,
    DuplicateButton,
    ExclusiveOverlap,
    UnknownWait,
    TimelineOrder,
    TimelineUnheard,
    TimelineUnmade,
    EmptyCopy,
    NotStored,
};

/// A row of the table of messages.
struct Message
{
    Fault code;
    const char *name;
    Diagnostic::Severity severity;
    const char *text; // with %1, %2 …, and what to write instead; nullptr: written where it is found
};

std::span<const Message> messages(); // in the order of the codes
const Message &messageOf(Fault code);
