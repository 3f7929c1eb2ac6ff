#include "library/TimelineFunctions.h"

#include "base/Numbers.h"
#include "interp/Interpreter.h"

#include <algorithm>
#include <limits>

namespace {
constexpr int kMostSteps = 1 << 20; // keeps a mistaken length from taking all memory

/// The first length elements as milliseconds; nothing when one is missing or no number.
std::optional<std::vector<int>> timesOf(const Array &array, int length)
{
    if (length > std::min(array.capacity(), kMostSteps)) {
        return std::nullopt;
    }
    std::vector<int> times;
    for (int index = 1; index <= length; ++index) {
        const ValueView element = array.view(index);
        if (!element.isNumber()) {
            return std::nullopt;
        }
        times.push_back(integerPart32(element.number));
    }
    return times;
}

/// Intervals become offsets from the start of the cycle.
void sumUp(std::vector<int> &times)
{
    qint64 sum = 0;
    for (int &time : times) {
        constexpr qint64 kLeast = std::numeric_limits<int>::min();
        constexpr qint64 kMost = std::numeric_limits<int>::max();
        sum = std::clamp(sum + time, kLeast, kMost);
        time = static_cast<int>(sum);
    }
}

TimelineTable &timelines(const ArgumentList &arguments)
{
    return arguments.run().interpreter().timelines();
}

/// The timeline that the first argument names, its number cut off without rounding; nullptr: none.
Timeline *timelineArgument(const ArgumentList &arguments)
{
    return arguments.count() > 0 ? timelines(arguments).find(truncated(arguments.number(0))) : nullptr;
}
} // namespace

void TimelineCreateFunc::call(const ArgumentList &arguments)
{
    if (!arguments.isPresent()) {
        return;
    }
    const Number id = arguments.tryNumber(0);
    if (!id.ok || integerPart32(id.value) < 0) {
        report(QT_TRANSLATE_NOOP("messages", "Timeline id of timeline_create function is not valid"));
        return;
    }
    const Number length = arguments.tryNumber(2);
    if (!length.ok || integerPart32(length.value) < 1) {
        report(QT_TRANSLATE_NOOP("messages", "Array length must greater than 0 when creating timeline"));
        return;
    }
    const Argument array = arguments.value(1);
    std::optional<std::vector<int>> times;
    if (array.array()) {
        times = timesOf(*array.array(), integerPart32(length.value));
    }
    if (!times) {
        noteFailed(arguments, array.array() ? 2 : 3);
        setResult(array.array() ? 2 : 3);
        return;
    }
    const bool isRelative = integerPart(arguments.number(3)) != 0;
    const bool repeats = integerPart(arguments.number(4)) != 0;
    if (timelines(arguments).find(integerPart32(id.value))) {
        noteFailed(arguments, 1);
        setResult(1);
        return;
    }
    if (isRelative) {
        sumUp(*times);
    }
    timelines(arguments).add(integerPart32(id.value), std::move(*times), isRelative, repeats);
    setResult(0);
}

void TimelineKillFunc::call(const ArgumentList &arguments)
{
    const bool isKilled = arguments.count() == 0 || timelines(arguments).kill(truncated(arguments.number(0)));
    if (!isKilled) {
        noteFailed(arguments, 1);
    }
    setResult(isKilled ? 0 : 1, IntegerType);
}

void TimelinePauseFunc::call(const ArgumentList &arguments)
{
    Timeline *timeline = timelineArgument(arguments);
    if (timeline) {
        timeline->isRunning = false;
    }
    setResult(timeline ? 0 : 1, IntegerType);
}

void TimelineRestartFunc::call(const ArgumentList &arguments)
{
    Timeline *timeline = timelineArgument(arguments);
    if (timeline) {
        timeline->isRunning = true; // from where its counters stopped
    }
    setResult(timeline ? 0 : 1, IntegerType);
}

void TimelineActiveFunc::call(const ArgumentList &arguments)
{
    setResult(timelineArgument(arguments) ? 1 : 0, IntegerType);
}
