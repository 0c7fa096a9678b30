#pragma once

#include <chrono>
#include <optional>

// When a periodic timer ticks, as times on one steady clock. Both platforms' timers follow it, so the
// simulated one ticks when the real one would.
namespace sim::tick_schedule {

using Time = std::chrono::nanoseconds;

// A restart counts from the tick being handled when it comes within this of that tick's due time: the
// time taken to wake and to run the handler is then not added to the gap. A handler that waited longer
// (a connect wait, a dialog) restarts from now.
inline constexpr Time kPromptRestart = std::chrono::milliseconds(5);

// The tick after one that was due at `due` and taken at `now`: a whole interval on, or, when that is
// already past, one interval from now. Ticks missed are never caught up in a burst.
constexpr Time nextDue(Time due, Time interval, Time now) {
    const Time next = due + interval;
    return next > now ? next : now + interval;
}

// The first tick of a timer (re)started at `now`. `tickDue` is the due time of the timer's own tick
// whose handler restarts it, if one does.
constexpr Time restartDue(std::optional<Time> tickDue, Time interval, Time now) {
    if (tickDue && now - *tickDue <= kPromptRestart) {
        const Time due = *tickDue + interval;
        return due > now ? due : now;
    }
    return now + interval;
}

} // namespace sim::tick_schedule
