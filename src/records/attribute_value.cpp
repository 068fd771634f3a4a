#include "records/attribute_value.h"

#include <cstring>

namespace gamepad {

namespace {

// Starts from all-zero bytes so that the payload bytes `member` leaves unused are zero too.
template <auto member, typename Payload>
AttributeValue made(AttributeValue::Kind kind, Payload payload) noexcept {
    AttributeValue value;
    std::memset(&value, 0, sizeof value);
    value.kind = kind;
    value.payload.*member = payload;
    return value;
}

}  // namespace

AttributeValue AttributeValue::make_button(bool pressed) noexcept {
    return made<&Payload::button>(Kind::Button, pressed);
}

AttributeValue AttributeValue::make_trigger(double amount) noexcept {
    return made<&Payload::trigger>(Kind::Trigger, amount);
}

AttributeValue AttributeValue::make_stick(StickValue stick) noexcept {
    return made<&Payload::stick>(Kind::Stick, stick);
}

AttributeValue AttributeValue::make_motor(double speed) noexcept {
    return made<&Payload::motor>(Kind::Motor, speed);
}

}  // namespace gamepad
