#include "nodes/node_name.h"

#include <cstring>

#include "gamepad/gamepad.h"
#include "hostapi/host_wrappers.h"

namespace {

constexpr std::size_t name_capacity = 255;  // the host's buffer holds 256 bytes with the NUL

const gamepad::GamepadAttribute* selected_attribute(const gamepad::GamepadMetadata* metadata,
                                                    std::int32_t attribute_index) {
    if (metadata == nullptr || attribute_index < 0 ||
        static_cast<std::size_t>(attribute_index) >= metadata->attributes.size()) {
        return nullptr;
    }
    return &metadata->attributes[static_cast<std::size_t>(attribute_index)];
}

}  // namespace

void write_node_name(char* buffer, const gamepad::Gamepads& gamepads, std::int32_t gamepad_index,
                     std::int32_t attribute_index, NodeNameKeys keys) {
    const gamepad::Gamepad* pad = gamepads.gamepad(gamepad_index);
    const gamepad::GamepadMetadata* metadata = pad == nullptr ? nullptr : pad->metadata();
    if (const gamepad::GamepadAttribute* attribute =
            selected_attribute(metadata, attribute_index)) {
        ZestTrBuilder builder = plugin_tr_arg(keys.with_arguments);
        zest_tr_str(builder, attribute->label.constData());
        zest_tr_str(builder, metadata->name.constData());
        zest_tr_end_str(builder, buffer);
        return;
    }
    buffer[0] = '\0';
    const char* text = plugin_tr(keys.plain);
    if (text == nullptr) return;
    const std::size_t length = strnlen(text, name_capacity);
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
}
