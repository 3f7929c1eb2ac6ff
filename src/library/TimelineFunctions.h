#pragma once
#include "library/LibraryFunction.h"

/// timeline_create(id, times, length, relative, repeat): starts a timeline.
/// Result: 0 created, 1 the id is in use, 2 an element among 1..length is missing or no number, 3 times is no array.
class TimelineCreateFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// timeline_kill(id), timeline_pause(id), timeline_restart(id): 0 done, 1 no such timeline.
class TimelineKillFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

class TimelinePauseFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

class TimelineRestartFunc : public LibraryFunction
{
public:
    using LibraryFunction::LibraryFunction;
    void call(const ArgumentList &arguments) override;
};

/// timeline_active(id): 1 when the timeline exists, running or paused.
class TimelineActiveFunc : public QuietFunction
{
public:
    using QuietFunction::QuietFunction;
    void call(const ArgumentList &arguments) override;
};
