#include "records/value_change.h"

#include <cmath>

namespace gamepad {

double apply_deadzone(double deadzone, double axis) noexcept {
    const double magnitude = std::fabs(axis);
    const double scaled = deadzone >= magnitude ? 0.0 : (magnitude - deadzone) / (1.0 - deadzone);
    return axis < 0.0 ? -scaled : scaled;
}

}  // namespace gamepad
