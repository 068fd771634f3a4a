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

// A backend whose pads a test scripts, which keeps what was written to each pad and the
// virtual-pad attaches and detaches it was told. The test and the polling thread use it at once,
// so it locks.
class ScriptedBackend : public gamepad::Backend {
public:
    explicit ScriptedBackend(std::vector<ScriptedPad> pads);

    // Test side.
    void edit(const std::function<void(std::vector<ScriptedPad>&)>& change);
    // "attach kind" and "detach pad" in the order told, and forgets them.
    std::vector<std::string> take_told();
    // The thread that read the pads last.
    std::thread::id reader() const;
    gamepad::GamepadState written(std::size_t pad) const;
    // `result` is the raw code, so that a test can script one that no backend names.
    void script_attach(std::uint32_t result, std::size_t pad);

    std::size_t virtual_gamepad_count() override { return 1; }
    QByteArray virtual_gamepad_name(std::size_t) override { return "virtual"; }
    gamepad::AttachResult attach_virtual_gamepad(std::size_t kind, std::size_t& pad) override;
    QByteArray attach_error_text(std::size_t, gamepad::AttachResult result) override {
        return "error " + QByteArray::number(static_cast<std::uint32_t>(result));
    }
    bool can_hide_feed_gamepad() override { return false; }
    void hide_feed_gamepad() override {}
    std::size_t gamepad_count() override { return at(0).pads.size(); }
    QByteArray gamepad_name(std::size_t pad) override { return at(pad)->name; }
    gamepad::GamepadCapabilities gamepad_capabilities(std::size_t pad) override {
        return at(pad)->capabilities;
    }
    std::size_t attribute_count(std::size_t pad) override { return at(pad)->rows.size(); }
    const gamepad::AttributeInfo& attribute_info(std::size_t pad, std::size_t position) override {
        return at(pad)->rows[position];
    }
    QByteArray attribute_label(std::size_t pad, std::size_t position) override {
        return QByteArray("label ") + at(pad)->rows[position].id;
    }
    void detach_virtual_gamepad(std::size_t pad) override;
    void refresh_gamepads() override {}
    gamepad::ReadFlags read_gamepad(std::size_t pad, gamepad::GamepadState& state) override;
    void write_gamepad(std::size_t pad, const gamepad::GamepadState& state) override;

private:
    // The scripted pads under the lock, which holds until the end of the caller's expression.
    struct Held {
        std::unique_lock<std::mutex> lock;
        std::vector<ScriptedPad>& pads;
        std::size_t pad;
        ScriptedPad* operator->() const { return &pads[pad]; }
    };
    Held at(std::size_t pad) { return {std::unique_lock(mutex_), pads_, pad}; }

    mutable std::mutex mutex_;
    std::vector<ScriptedPad> pads_;
    std::vector<gamepad::GamepadState> written_;
    std::vector<std::string> told_;
    std::thread::id reader_;
    gamepad::AttachResult attach_result_ = gamepad::AttachResult::Success;
    std::size_t attach_pad_ = 0;
};

}  // namespace testsupport
