#include "gamepad/gamepads.h"

#include "gamepad/game_impl.h"
#include "gamepad/gamepad.h"
#include "gamepad/gamepad_impl.h"

namespace gamepad {

Gamepads::Gamepads(Game::Impl* impl) : impl_(impl) {
    gamepads_.reserve(impl->gamepads().size());
    for (const std::unique_ptr<Game::GamepadImpl>& pad : impl->gamepads()) {
        auto handle = std::make_unique<Gamepad>(pad.get());
        connect(pad.get(), &Game::GamepadImpl::metadata_changed, handle.get(),
                &Gamepad::metadata_changed);
        connect(pad.get(), &Game::GamepadImpl::is_connected_changed, handle.get(),
                &Gamepad::is_connected_changed);
        connect(pad.get(), &Game::GamepadImpl::attribute_changed, handle.get(),
                &Gamepad::attribute_changed);
        gamepads_.push_back(std::move(handle));
    }
    connect(impl, &Game::Impl::metadata_changed, this, &Gamepads::metadata_changed);
    connect(impl, &Game::Impl::virtual_gamepad_state_changed, this,
            &Gamepads::virtual_gamepad_state_changed);
}

Gamepads::~Gamepads() {
    impl_->release();
    gamepads_.clear();
}

Gamepad* Gamepads::gamepad(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= gamepads_.size()) return nullptr;
    return gamepads_[static_cast<std::size_t>(index)].get();
}

VirtualGamepadState Gamepads::virtual_gamepad_state() const {
    return impl_->virtual_gamepad_state();
}

std::int32_t Gamepads::virtual_gamepad_index() const {
    return impl_->virtual_gamepad_index();
}

QByteArray Gamepads::virtual_gamepad_error() const {
    return impl_->virtual_gamepad_error();
}

}  // namespace gamepad
