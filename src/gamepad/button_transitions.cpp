#include "gamepad/button_transitions.h"

namespace gamepad {

void ButtonTransitions::record(std::size_t attribute, bool pressed) noexcept {
    entries_[next_ % capacity] = {next_, static_cast<std::uint32_t>(attribute), pressed};
    ++next_;
}

}  // namespace gamepad
