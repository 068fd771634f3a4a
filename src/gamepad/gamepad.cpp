#include "gamepad/gamepad.h"

#include "gamepad/gamepad_impl.h"

namespace gamepad {

Gamepad::Gamepad(Game::GamepadImpl* impl) : impl_(impl) {}

const GamepadMetadata* Gamepad::metadata() const {
    return impl_->metadata();
}

const GamepadState* Gamepad::state() const {
    return impl_->state();
}

}  // namespace gamepad
