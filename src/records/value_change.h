#pragma once

#include "records/attribute_type.h"
#include "records/attribute_value.h"

namespace gamepad {

// The axis rescaled so that the edge of the deadzone becomes 0.0 and full travel stays 1.0.
double apply_deadzone(double deadzone, double axis) noexcept;

// The one definition of "changed": by the attribute's declared type, through the accessors, with
// exact comparisons (a NaN on either side is a change). Sticks compare deadzone-rescaled axes.
// Inline: the polling thread asks it for every attribute of every pad on every tick.
inline bool attribute_value_changed(AttributeType type, const AttributeValue& old_value,
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
