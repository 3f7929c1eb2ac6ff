#pragma once
#include "events/Events.h"
#include "interp/Trace.h"

/// What the trace says of an event, and back.
TraceRecord traceRecordOf(const CustomEvent &event);
EventType eventTypeOf(const TraceRecord &event);
QString eventWord(EventType type); // "push", as the source calls the part of a handler
