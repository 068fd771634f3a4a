#pragma once

#include <QByteArray>

#include <array>
#include <cstddef>
#include <cstdint>

namespace gamepad {

// An answer to an attach: a pad, or the error's text when `failed`.
struct AttachAnswer {
    std::uint64_t sequence = 0;  // in the count of DeliveryNotes
    std::uint64_t generation = 0;
    bool failed = false;
    std::size_t gamepad = 0;
    QByteArray error;
};

// What the polling thread tells the main thread besides the pads: the answers to attaches and
// that some pad's metadata changed, numbered in the order they happened. Kept by the polling
// thread and published whole, as the button transitions are. Metadata notes merge into the
// latest one, which is all the users need; of the answers the newest `capacity` are kept, and
// an older one matters no more, since a later attach takes the pad of an earlier one down.
class DeliveryNotes {
public:
    static constexpr std::size_t capacity = 8;

    // Polling thread.
    void note_any_metadata() noexcept { metadata_sequence_ = next_++; }
    void note_answer(AttachAnswer answer);

    // Main thread, on the collected copy: the sequence of the latest metadata note (0 for none),
    // and the oldest answer still held that came after `sequence` (null for none).
    std::uint64_t metadata_sequence() const noexcept { return metadata_sequence_; }
    const AttachAnswer* answer_after(std::uint64_t sequence) const noexcept;

private:
    std::array<AttachAnswer, capacity> answers_{};
    std::uint64_t answer_count_ = 0;
    std::uint64_t metadata_sequence_ = 0;
    std::uint64_t next_ = 1;
};

}  // namespace gamepad
