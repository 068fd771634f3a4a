#include "gamepad/button_transitions.h"

namespace gamepad {

void ButtonTransitions::record(std::uint64_t order, const QByteArray& id, std::size_t attribute,
                               bool pressed) noexcept {
    ButtonTransition& entry = entries_[next_ % capacity];
    entry.sequence = next_;
    entry.order = order;
    entry.id = id;
    entry.attribute = static_cast<std::uint32_t>(attribute);
    entry.pressed = pressed;
    ++next_;
}

}  // namespace gamepad
