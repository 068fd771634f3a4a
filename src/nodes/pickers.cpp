#include "nodes/pickers.h"

#include <QFlags>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "hostapi/host_wrappers.h"
#include "pluginstate/attribute_ids.h"

namespace {

using gamepad::AttributeDirection;
using gamepad::AttributeType;
using gamepad::Gamepad;
using gamepad::GamepadAttribute;
using gamepad::GamepadCapabilities;
using gamepad::GamepadCapability;
using gamepad::GamepadMetadata;
using gamepad::Gamepads;

enum class Access { Read, Write };

bool allows(const GamepadAttribute& attribute, GamepadCapabilities capabilities, Access access) {
    const bool input = attribute.direction == AttributeDirection::Input;
    if (access == Access::Read) {
        return capabilities.testFlag(input ? GamepadCapability::InputRead
                                           : GamepadCapability::OutputRead);
    }
    return capabilities.testFlag(input ? GamepadCapability::InputWrite
                                       : GamepadCapability::OutputWrite);
}

bool offers(const GamepadMetadata* metadata, AttributeType type, Access access) {
    return metadata != nullptr &&
           std::any_of(metadata->attributes.begin(), metadata->attributes.end(),
                       [&](const GamepadAttribute& attribute) {
                           return attribute.type == type &&
                                  allows(attribute, metadata->capabilities, access);
                       });
}

bool can_feed(const GamepadMetadata* metadata) {
    return metadata != nullptr && metadata->capabilities.testFlags(GamepadCapability::InputRead |
                                                                   GamepadCapability::OutputWrite);
}

int list(ZestPanel panel, const char* key, const PickerLabels& labels, const PickerValues& values) {
    const bool empty = labels.empty();
    return zui_list(panel, key, nullptr, nullptr, empty ? nullptr : labels.data(),
                    empty ? nullptr : values.data(), labels.size(), -1);
}

// A label with the pad's name as %1, owned by the picker until the list is shown.
const char* decorated_name(const char* key, const QByteArray& name, std::vector<char*>& owned) {
    ZestTrBuilder builder = plugin_tr_arg(key);
    zest_tr_str(builder, name.constData());
    char* text = zest_tr_end(builder);
    if (text == nullptr) return name.constData();  // a host without the text: the plain name
    owned.push_back(text);
    return text;
}

const char* pad_label(const Gamepads& gamepads, int position, const Gamepad& pad,
                      std::vector<char*>& owned) {
    const QByteArray& name = pad.metadata()->name;
    if (pad.state() == nullptr || !pad.state()->is_connected) {
        return decorated_name("DisconnectedGamepad.%1", name, owned);
    }
    if (position == gamepads.virtual_gamepad_index()) {
        return decorated_name("VirtualGamepad.%1", name, owned);
    }
    return name.constData();
}

// Every pad on offer has metadata, so it has a name to show.
template <typename OnOffer>
int pick_gamepad(ZestPanel panel, const char* key, PickerLabels& labels, PickerValues& values,
                 const Gamepads& gamepads, OnOffer on_offer) {
    std::vector<char*> owned;
    for (std::size_t i = 0; i < gamepads.count(); ++i) {
        const int position = static_cast<int>(i);
        const Gamepad& pad = *gamepads.gamepad(position);
        if (!on_offer(position, pad.metadata())) continue;
        values.push_back(position);
        labels.push_back(pad_label(gamepads, position, pad, owned));
    }
    const int selected = list(panel, key, labels, values);
    for (char* text : owned)
        zest_string_destroy(text);
    return selected;
}

int pick_gamepad_with(ZestPanel panel, PickerLabels& labels, PickerValues& values,
                      const Gamepads& gamepads, AttributeType type, Access access) {
    return pick_gamepad(
        panel, "!gamepad", labels, values, gamepads,
        [&](int, const GamepadMetadata* metadata) { return offers(metadata, type, access); });
}

int pick_attribute(ZestPanel panel, const AttributeQuery& query, Access access) {
    constexpr const char* key = "!attribute";
    const GamepadMetadata* metadata = query.gamepad->metadata();
    if (metadata == nullptr) {
        zui_list(panel, key, nullptr, nullptr, nullptr, nullptr, 0, -1);
        return -1;
    }
    PickerLabels labels;
    PickerValues values;
    std::vector<int> positions;
    for (std::size_t j = 0; j < metadata->attributes.size(); ++j) {
        const GamepadAttribute& attribute = metadata->attributes[j];
        if (attribute.type != query.type || !allows(attribute, query.capabilities, access)) {
            continue;
        }
        labels.push_back(attribute.label.constData());
        values.push_back(intern_attribute_id(attribute.id.constData()));
        positions.push_back(static_cast<int>(j));
    }
    const int selected = list(panel, key, labels, values);
    const auto match = std::find(values.begin(), values.end(), selected);
    return match == values.end() ? -1 : positions[static_cast<std::size_t>(match - values.begin())];
}

}  // namespace

gamepad::GamepadCapabilities capabilities_of(const gamepad::Gamepad& pad) {
    const GamepadMetadata* metadata = pad.metadata();
    return metadata == nullptr ? GamepadCapabilities{} : metadata->capabilities;
}

int pick_feed_gamepad(ZestPanel panel, PickerLabels& labels, PickerValues& values,
                      const Gamepads& gamepads, int leave_out) {
    return pick_gamepad(panel, "feedgamepad", labels, values, gamepads,
                        [leave_out](int position, const GamepadMetadata* metadata) {
                            return position != leave_out && can_feed(metadata);
                        });
}

int pick_readable_gamepad(ZestPanel panel, PickerLabels& labels, PickerValues& values,
                          const Gamepads& gamepads, AttributeType type) {
    return pick_gamepad_with(panel, labels, values, gamepads, type, Access::Read);
}

int pick_writable_gamepad(ZestPanel panel, PickerLabels& labels, PickerValues& values,
                          const Gamepads& gamepads, AttributeType type) {
    return pick_gamepad_with(panel, labels, values, gamepads, type, Access::Write);
}

int pick_readable_attribute(ZestPanel panel, const AttributeQuery& query) {
    return pick_attribute(panel, query, Access::Read);
}

int pick_writable_attribute(ZestPanel panel, const AttributeQuery& query) {
    return pick_attribute(panel, query, Access::Write);
}
