#pragma once

namespace bench {

// Nanoseconds for one publish of a pad's record and its collection, on one thread, each the
// median of blocks taken in turn: the plug-in's PublicationChannel<GamepadPublication>, the
// same records through a mutex with copies in and out, and, for comparison, a mutex design
// that copies only what changes per tick (the state and the transitions).
struct RoundTrips {
    double channel_ns = 0.0;
    double mutex_record_ns = 0.0;
    double mutex_state_ns = 0.0;
};

RoundTrips measure_round_trips(int blocks, int per_block);

}  // namespace bench
