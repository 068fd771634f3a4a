#pragma once

#include <array>
#include <cstdint>

namespace gamepad {

// Ken Perlin's permutation from his reference implementation of improved noise; every index is
// masked to 0..255, so it is not doubled.
extern const std::array<std::uint8_t, 256> noise_permutation;

// One-dimensional simplex noise, in single precision step by step so that every platform draws
// the same curve. Zero at whole numbers; stays within +-0.99985.
float simplex_noise(float x) noexcept;

}  // namespace gamepad
