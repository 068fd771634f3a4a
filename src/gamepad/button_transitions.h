#pragma once

#include <QByteArray>

#include <array>
#include <cstddef>
#include <cstdint>

namespace gamepad {

struct ButtonTransition {
    std::uint64_t sequence;   // counts up from 1 per pad, so the main thread can tell what it saw
    std::uint64_t order;      // counts up across all pads: the order in which they happened
    QByteArray id;            // the attribute's, which holds across metadata changes
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
// a stall can go unseen. A metadata change keeps them: each carries its attribute's id, by which
// the main thread finds where the attribute stands in the metadata it tells them with.
class ButtonTransitions {
public:
    static constexpr std::size_t capacity = 32;

    // Polling thread. Copies the id's reference only: nothing is allocated.
    void record(std::uint64_t order, const QByteArray& id, std::size_t attribute,
                bool pressed) noexcept;

    // Main thread, on a collected copy: the oldest transition still held after `sequence`, or
    // null.
    const ButtonTransition* next_after(std::uint64_t sequence) const noexcept {
        std::uint64_t from = sequence + 1;
        if (next_ - from > capacity) from = next_ - capacity;
        return from < next_ ? &entries_[from % capacity] : nullptr;
    }

private:
    std::array<ButtonTransition, capacity> entries_{};
    std::uint64_t next_ = 1;  // the sequence the next transition gets
};

}  // namespace gamepad
