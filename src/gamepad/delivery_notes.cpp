#include "gamepad/delivery_notes.h"

#include <utility>

namespace gamepad {

void DeliveryNotes::note_answer(AttachAnswer answer) {
    answer.sequence = next_++;
    answers_[answer_count_++ % capacity] = std::move(answer);
}

const AttachAnswer* DeliveryNotes::answer_after(std::uint64_t sequence) const noexcept {
    const std::uint64_t held = answer_count_ < capacity ? answer_count_ : capacity;
    for (std::uint64_t i = answer_count_ - held; i < answer_count_; ++i) {
        const AttachAnswer& answer = answers_[i % capacity];
        if (answer.sequence > sequence) return &answer;
    }
    return nullptr;
}

}  // namespace gamepad
