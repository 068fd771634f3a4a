#pragma once

#include <cstddef>
#include <vector>

#include "backend/backend.h"

namespace testsupport {

// A backend that is nothing but attribute lists, one per pad, for code that only resolves
// attributes. Every other operation is inert.
class ListBackend : public gamepad::Backend {
public:
    explicit ListBackend(std::vector<std::vector<gamepad::AttributeInfo>> pads)
        : pads_(std::move(pads)) {}

    std::vector<gamepad::AttributeInfo>& pad(std::size_t index) { return pads_[index]; }

    std::size_t virtual_gamepad_count() override { return 0; }
    QByteArray virtual_gamepad_name(std::size_t) override { return {}; }
    gamepad::AttachResult attach_virtual_gamepad(std::size_t, std::size_t&) override {
        return gamepad::AttachResult::SetUpFailed;
    }
    QByteArray attach_error_text(std::size_t, gamepad::AttachResult) override { return {}; }
    bool can_hide_feed_gamepad() override { return false; }
    void hide_feed_gamepad() override {}
    std::size_t gamepad_count() override { return pads_.size(); }
    QByteArray gamepad_name(std::size_t) override { return {}; }
    gamepad::GamepadCapabilities gamepad_capabilities(std::size_t) override { return {}; }
    std::size_t attribute_count(std::size_t pad) override { return pads_[pad].size(); }
    const gamepad::AttributeInfo& attribute_info(std::size_t pad, std::size_t position) override {
        return pads_[pad][position];
    }
    QByteArray attribute_label(std::size_t, std::size_t) override { return {}; }
    void detach_virtual_gamepad(std::size_t) override {}
    void refresh_gamepads() override {}
    gamepad::ReadFlags read_gamepad(std::size_t, gamepad::GamepadState&) override {
        return gamepad::ReadFlag::Unchanged;
    }
    void write_gamepad(std::size_t, const gamepad::GamepadState&) override {}

private:
    std::vector<std::vector<gamepad::AttributeInfo>> pads_;
};

}  // namespace testsupport
