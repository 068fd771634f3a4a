#include "support/scripted_backend.h"

#include <algorithm>

namespace testsupport {

using namespace gamepad;

ScriptedBackend::ScriptedBackend(std::vector<ScriptedPad> pads)
    : pads_(std::move(pads)), written_(pads_.size()) {
    for (GamepadState& state : written_)
        state.values.reserve(64);
}

void ScriptedBackend::edit(const std::function<void(std::vector<ScriptedPad>&)>& change) {
    std::lock_guard lock(mutex_);
    change(pads_);
}

std::vector<ScriptedBackend::Call> ScriptedBackend::calls() const {
    std::lock_guard lock(mutex_);
    return calls_;
}

std::vector<std::string> ScriptedBackend::take_calls() {
    std::lock_guard lock(mutex_);
    std::vector<std::string> names;
    for (const Call& call : calls_)
        names.push_back(call.operation + " " + std::to_string(call.pad));
    calls_.clear();
    return names;
}

void ScriptedBackend::set_recording(bool on) {
    std::lock_guard lock(mutex_);
    recording_ = on;
}

GamepadState ScriptedBackend::written(std::size_t pad) const {
    std::lock_guard lock(mutex_);
    return written_[pad];
}

void ScriptedBackend::script_attach(std::uint32_t result, std::size_t pad) {
    std::lock_guard lock(mutex_);
    attach_result_ = result;
    attach_pad_ = pad;
}

void ScriptedBackend::record(const char* operation, std::size_t pad) {
    if (recording_) calls_.push_back({operation, pad, std::this_thread::get_id()});
}

std::uint32_t ScriptedBackend::attach_virtual_gamepad(std::size_t kind, std::size_t& pad) {
    std::lock_guard lock(mutex_);
    record("attach", kind);
    pad = attach_pad_;
    return attach_result_;
}

QByteArray ScriptedBackend::attach_error_text(std::size_t, std::uint32_t code) {
    std::lock_guard lock(mutex_);
    record("attach_error_text", code);
    return "error " + QByteArray::number(code);
}

std::size_t ScriptedBackend::gamepad_count() {
    std::lock_guard lock(mutex_);
    record("gamepad_count", 0);
    return pads_.size();
}

QByteArray ScriptedBackend::gamepad_name(std::size_t pad) {
    std::lock_guard lock(mutex_);
    record("gamepad_name", pad);
    return pads_[pad].name;
}

GamepadCapabilities ScriptedBackend::gamepad_capabilities(std::size_t pad) {
    std::lock_guard lock(mutex_);
    record("gamepad_capabilities", pad);
    return pads_[pad].capabilities;
}

std::size_t ScriptedBackend::attribute_count(std::size_t pad) {
    std::lock_guard lock(mutex_);
    record("attribute_count", pad);
    return pads_[pad].rows.size();
}

const AttributeInfo& ScriptedBackend::attribute_info(std::size_t pad, std::size_t position) {
    std::lock_guard lock(mutex_);
    record("attribute_info", pad);
    return pads_[pad].rows[position];
}

QByteArray ScriptedBackend::attribute_label(std::size_t pad, std::size_t position) {
    std::lock_guard lock(mutex_);
    record("attribute_label", pad);
    return QByteArray("label ") + pads_[pad].rows[position].id;
}

void ScriptedBackend::detach_virtual_gamepad(std::size_t pad) {
    std::lock_guard lock(mutex_);
    record("detach", pad);
}

void ScriptedBackend::refresh_gamepads() {
    std::lock_guard lock(mutex_);
    record("refresh_gamepads", 0);
}

ReadFlags ScriptedBackend::read_gamepad(std::size_t pad, GamepadState& state) {
    std::lock_guard lock(mutex_);
    record("read_gamepad", pad);
    ScriptedPad& scripted = pads_[pad];
    ReadFlags flags;
    if (scripted.metadata_changed) {
        scripted.metadata_changed = false;
        state.values.resize(scripted.rows.size());
        flags = ReadFlag::MetadataChanged;
    }
    state.is_connected = scripted.connected;
    const std::size_t count = std::min(state.values.size(), scripted.values.size());
    std::copy_n(scripted.values.begin(), count, state.values.begin());
    return flags;
}

void ScriptedBackend::write_gamepad(std::size_t pad, const GamepadState& state) {
    std::lock_guard lock(mutex_);
    record("write_gamepad", pad);
    written_[pad].is_connected = state.is_connected;
    written_[pad].values = state.values;
}

}  // namespace testsupport
