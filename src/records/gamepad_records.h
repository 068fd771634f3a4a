#pragma once

#include <QByteArray>
#include <QFlags>

#include <cstdint>
#include <vector>

#include "records/attribute_type.h"
#include "records/attribute_value.h"

namespace gamepad {

struct GamepadAttribute {
    QByteArray id;     // identity across metadata changes, as "button_a"
    QByteArray label;  // already translated
    AttributeType type;
    AttributeDirection direction;
};

enum class GamepadCapability : std::uint32_t {
    InputRead = 1,
    InputWrite = 2,
    OutputRead = 4,
    OutputWrite = 8,
};
Q_DECLARE_FLAGS(GamepadCapabilities, GamepadCapability)
Q_DECLARE_OPERATORS_FOR_FLAGS(GamepadCapabilities)

struct GamepadMetadata {
    QByteArray name;
    GamepadCapabilities capabilities;
    std::vector<GamepadAttribute> attributes;  // in the backend's order
};

// values[i] belongs to attributes[i] of the metadata it was read with.
struct GamepadState {
    bool is_connected = false;
    std::vector<AttributeValue> values;
};

}  // namespace gamepad
