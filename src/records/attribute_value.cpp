#include "records/attribute_value.h"

#include <cstring>

namespace gamepad {

namespace {

// Start from all-zero bytes so that unused payload bytes are zero too.
AttributeValue zeroed(AttributeValue::Kind kind) noexcept {
    AttributeValue value;
    std::memset(&value, 0, sizeof value);
    value.kind = kind;
    return value;
}

}  // namespace

AttributeValue AttributeValue::make_button(bool pressed) noexcept {
    AttributeValue value = zeroed(Kind::Button);
    value.payload.button = pressed;
    return value;
}

AttributeValue AttributeValue::make_trigger(double amount) noexcept {
    AttributeValue value = zeroed(Kind::Trigger);
    value.payload.trigger = amount;
    return value;
}

AttributeValue AttributeValue::make_stick(StickValue stick) noexcept {
    AttributeValue value = zeroed(Kind::Stick);
    value.payload.stick = stick;
    return value;
}

AttributeValue AttributeValue::make_motor(double speed) noexcept {
    AttributeValue value = zeroed(Kind::Motor);
    value.payload.motor = speed;
    return value;
}

}  // namespace gamepad
