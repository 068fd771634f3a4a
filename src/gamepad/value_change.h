#pragma once

#include "gamepad/attribute_type.h"
#include "gamepad/attribute_value.h"

namespace gamepad {

// The axis rescaled so that the edge of the deadzone becomes 0.0 and full travel stays 1.0.
double apply_deadzone(double deadzone, double axis) noexcept;

// The one definition of "changed": by the attribute's declared type, through the accessors, with
// exact comparisons (a NaN on either side is a change). Sticks compare deadzone-rescaled axes.
bool attribute_value_changed(AttributeType type, const AttributeValue& old_value,
                             const AttributeValue& new_value) noexcept;

}  // namespace gamepad
