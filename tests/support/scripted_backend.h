#pragma once

#include <QByteArray>

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "backend/backend.h"

namespace testsupport {

struct ScriptedPad {
    bool connected = true;
    QByteArray name = "pad";
    gamepad::GamepadCapabilities capabilities{9};
    std::vector<gamepad::AttributeInfo> rows;
    std::vector<gamepad::AttributeValue> values;  // what the next read reports, by position
    bool metadata_changed = false;                // reported once, by the next read
};

// A backend whose pads a test scripts and whose every call it records, with the thread it came
// from. The test and the polling thread use it at once, so it locks.
class ScriptedBackend : public gamepad::Backend {
public:
    struct Call {
        std::string operation;
        std::size_t pad;
        std::thread::id thread;
    };

    explicit ScriptedBackend(std::vector<ScriptedPad> pads);

    // Test side.
    void edit(const std::function<void(std::vector<ScriptedPad>&)>& change);
    std::vector<Call> calls() const;
    // The operations recorded so far, as "operation pad" strings, and forgets them.
    std::vector<std::string> take_calls();
    void set_recording(bool on);
    gamepad::GamepadState written(std::size_t pad) const;
    void script_attach(std::uint32_t result, std::size_t pad);

    std::size_t virtual_gamepad_count() override { return 1; }
    QByteArray virtual_gamepad_name(std::size_t) override { return "virtual"; }
    std::uint32_t attach_virtual_gamepad(std::size_t kind, std::size_t& pad) override;
    QByteArray attach_error_text(std::size_t kind, std::uint32_t code) override;
    bool can_hide_feed_gamepad() override { return false; }
    void hide_feed_gamepad() override {}
    std::size_t gamepad_count() override;
    QByteArray gamepad_name(std::size_t pad) override;
    gamepad::GamepadCapabilities gamepad_capabilities(std::size_t pad) override;
    std::size_t attribute_count(std::size_t pad) override;
    const gamepad::AttributeInfo& attribute_info(std::size_t pad, std::size_t position) override;
    QByteArray attribute_label(std::size_t pad, std::size_t position) override;
    void detach_virtual_gamepad(std::size_t pad) override;
    void refresh_gamepads() override;
    gamepad::ReadFlags read_gamepad(std::size_t pad, gamepad::GamepadState& state) override;
    void write_gamepad(std::size_t pad, const gamepad::GamepadState& state) override;

private:
    void record(const char* operation, std::size_t pad);

    mutable std::mutex mutex_;
    std::vector<ScriptedPad> pads_;
    std::vector<gamepad::GamepadState> written_;
    std::vector<Call> calls_;
    bool recording_ = true;
    std::uint32_t attach_result_ = 0;
    std::size_t attach_pad_ = 0;
};

}  // namespace testsupport
