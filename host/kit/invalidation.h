#pragma once

namespace hostkit {

// How often the plug-in asked for something to be redone, and how many of those requests came
// while a panel pass was running, when the host must wait for the pass to end.
struct InvalidationCount {
    int total = 0;
    int during_pass = 0;

    bool operator==(const InvalidationCount&) const = default;
};

namespace detail {

// Main thread, as are passes and invalidations.
void note_pass_begun();
void note_pass_ended();
void count_invalidation(InvalidationCount& count);

}  // namespace detail

}  // namespace hostkit
