#include "support/scripted_backend.h"

#include <algorithm>

namespace testsupport {

using namespace gamepad;

ScriptedBackend::ScriptedBackend(std::vector<ScriptedPad> pads)
    : pads_(std::move(pads)), written_(pads_.size()) {}

void ScriptedBackend::edit(const std::function<void(std::vector<ScriptedPad>&)>& change) {
    std::lock_guard lock(mutex_);
    change(pads_);
}

std::vector<std::string> ScriptedBackend::take_told() {
    std::lock_guard lock(mutex_);
    return std::exchange(told_, {});
}

std::thread::id ScriptedBackend::reader() const {
    std::lock_guard lock(mutex_);
    return reader_;
}

GamepadState ScriptedBackend::written(std::size_t pad) const {
    std::lock_guard lock(mutex_);
    return written_[pad];
}

void ScriptedBackend::script_attach(std::uint32_t result, std::size_t pad) {
    std::lock_guard lock(mutex_);
    attach_result_ = static_cast<AttachResult>(result);
    attach_pad_ = pad;
}

AttachResult ScriptedBackend::attach_virtual_gamepad(std::size_t kind, std::size_t& pad) {
    const Held held = at(kind);
    told_.push_back("attach " + std::to_string(kind));
    pad = attach_pad_;
    return attach_result_;
}

void ScriptedBackend::detach_virtual_gamepad(std::size_t pad) {
    const Held held = at(pad);
    told_.push_back("detach " + std::to_string(pad));
}

ReadFlags ScriptedBackend::read_gamepad(std::size_t pad, GamepadState& state) {
    const Held scripted = at(pad);
    reader_ = std::this_thread::get_id();
    ReadFlags flags;
    if (std::exchange(scripted->metadata_changed, false)) {
        state.values.resize(scripted->rows.size());
        flags = ReadFlag::MetadataChanged;
    }
    state.is_connected = scripted->connected;
    for (std::size_t a = 0; a < state.values.size(); ++a)
        state.values[a] = a < scripted->values.size() ? scripted->values[a] : AttributeValue();
    return flags;
}

void ScriptedBackend::write_gamepad(std::size_t pad, const GamepadState& state) {
    const Held held = at(pad);
    written_[pad].is_connected = state.is_connected;
    written_[pad].values = state.values;
}

}  // namespace testsupport
