#include "gamepad/deadline.h"

#include <cmath>
#include <limits>

#include "platform/monotonic_clock.h"

namespace gamepad {

std::int32_t duration_ms(double seconds) noexcept {
    using limits = std::numeric_limits<std::int32_t>;
    const double ms = std::trunc(seconds * 1000.0);
    if (std::isnan(ms)) return 0;
    if (ms >= static_cast<double>(limits::max())) return limits::max();
    if (ms <= static_cast<double>(limits::min())) return limits::min();
    return static_cast<std::int32_t>(ms);
}

std::int64_t deadline_after(std::int32_t ms) noexcept {
    return platform::monotonic_now_ns() + static_cast<std::int64_t>(ms) * 1'000'000;
}

}  // namespace gamepad
