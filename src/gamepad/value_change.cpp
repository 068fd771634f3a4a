#include "gamepad/value_change.h"

#include <cmath>

namespace gamepad {

double apply_deadzone(double deadzone, double axis) noexcept {
    const double magnitude = std::fabs(axis);
    const double scaled = deadzone >= magnitude ? 0.0 : (magnitude - deadzone) / (1.0 - deadzone);
    return axis < 0.0 ? -scaled : scaled;
}

bool attribute_value_changed(AttributeType type, const AttributeValue& old_value,
                             const AttributeValue& new_value) noexcept {
    switch (type) {
        case AttributeType::Button:
            return old_value.as_button() != new_value.as_button();
        case AttributeType::Trigger:
            return old_value.as_trigger() != new_value.as_trigger();
        case AttributeType::Motor:
            return old_value.as_motor() != new_value.as_motor();
        case AttributeType::Stick: {
            const StickValue a = old_value.as_stick();
            const StickValue b = new_value.as_stick();
            return apply_deadzone(a.deadzone, a.x) != apply_deadzone(b.deadzone, b.x) ||
                   apply_deadzone(a.deadzone, a.y) != apply_deadzone(b.deadzone, b.y);
        }
    }
    return false;
}

}  // namespace gamepad
