#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace gamepad {

struct ButtonTransition {
    std::uint64_t sequence;   // counts up from 1 per pad, so the main thread can tell what it saw
    std::uint32_t attribute;  // position in the metadata it was recorded with
    bool pressed;
};

// The newest button transitions of one pad, kept by the polling thread and copied whole into
// every publication, so that a main thread that lags behind by several ticks still tells its
// users each press and release in order, with its own value.
//
// It holds `capacity` transitions. When a long stall brings more before a delivery, the oldest
// fall out: the main thread then skips any transition that would repeat what its users saw last
// and, after the rest, brings each button to its final value. So the final state is always
// right and no press or release is ever doubled or inverted; only whole press-release pairs of
// a stall can go unseen. A metadata change forgets the transitions before it for the same
// reason, since their positions no longer hold.
class ButtonTransitions {
public:
    static constexpr std::size_t capacity = 32;

    // Polling thread.
    void record(std::size_t attribute, bool pressed) noexcept;
    void forget() noexcept { first_ = next_; }

    // Calls `visit(const ButtonTransition&)` for each transition after `sequence`, oldest first.
    template <typename Visit>
    void for_each_after(std::uint64_t sequence, Visit&& visit) const {
        std::uint64_t from = sequence + 1;
        if (from < first_) from = first_;
        if (next_ - from > capacity) from = next_ - capacity;
        for (std::uint64_t s = from; s < next_; ++s)
            visit(entries_[s % capacity]);
    }

private:
    std::array<ButtonTransition, capacity> entries_{};
    std::uint64_t first_ = 1;  // the oldest sequence that still counts
    std::uint64_t next_ = 1;   // the sequence the next transition gets
};

}  // namespace gamepad
