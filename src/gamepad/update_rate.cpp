#include "gamepad/update_rate.h"

#include <algorithm>

namespace gamepad {
namespace {

constexpr std::int32_t ms_per_second = 1000;

}  // namespace

std::int32_t armable_rate(std::int32_t rate) noexcept {
    return rate == 0 ? min_update_rate : rate;
}

std::int32_t tick_period_ms(std::int32_t rate) noexcept {
    return std::max(ms_per_second / max_update_rate, ms_per_second / armable_rate(rate));
}

}  // namespace gamepad
