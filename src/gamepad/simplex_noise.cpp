#include "gamepad/simplex_noise.h"

#include <cmath>

namespace gamepad {

const std::array<std::uint8_t, 256> noise_permutation{
    151, 160, 137, 91,  90,  15,  131, 13,  201, 95,  96,  53,  194, 233, 7,   225, 140, 36,  103,
    30,  69,  142, 8,   99,  37,  240, 21,  10,  23,  190, 6,   148, 247, 120, 234, 75,  0,   26,
    197, 62,  94,  252, 219, 203, 117, 35,  11,  32,  57,  177, 33,  88,  237, 149, 56,  87,  174,
    20,  125, 136, 171, 168, 68,  175, 74,  165, 71,  134, 139, 48,  27,  166, 77,  146, 158, 231,
    83,  111, 229, 122, 60,  211, 133, 230, 220, 105, 92,  41,  55,  46,  245, 40,  244, 102, 143,
    54,  65,  25,  63,  161, 1,   216, 80,  73,  209, 76,  132, 187, 208, 89,  18,  169, 200, 196,
    135, 130, 116, 188, 159, 86,  164, 100, 109, 198, 173, 186, 3,   64,  52,  217, 226, 250, 124,
    123, 5,   202, 38,  147, 118, 126, 255, 82,  85,  212, 207, 206, 59,  227, 47,  16,  58,  17,
    182, 189, 28,  42,  223, 183, 170, 213, 119, 248, 152, 2,   44,  154, 163, 70,  221, 153, 101,
    155, 167, 43,  172, 9,   129, 22,  39,  253, 19,  98,  108, 110, 79,  113, 224, 232, 178, 185,
    112, 104, 218, 246, 97,  228, 251, 34,  242, 193, 238, 210, 144, 12,  191, 179, 162, 241, 81,
    51,  145, 235, 249, 14,  239, 107, 49,  192, 214, 31,  181, 199, 106, 157, 184, 84,  204, 176,
    115, 121, 50,  45,  127, 4,   150, 254, 138, 236, 205, 93,  222, 114, 67,  29,  24,  72,  243,
    141, 128, 195, 78,  66,  215, 61,  156, 180};

namespace {

// From 2^24 on every float is a whole number, where the noise is zero; stopping there also keeps
// the conversion to a 32-bit index defined.
constexpr float whole_numbers_only = 16777216.0f;

float gradient_part(std::uint8_t hash, float d) noexcept {
    float g = 1.0f + static_cast<float>(hash & 7);
    if ((hash & 8) != 0) g = -g;
    float t = 1.0f - d * d;
    t = t * t;
    t = t * t;
    return (g * d) * t;
}

}  // namespace

float simplex_noise(float x) noexcept {
    if (!(std::fabs(x) < whole_numbers_only)) return 0.0f;  // NaN included
    const std::int32_t i0 = static_cast<std::int32_t>(std::floor(x));
    const std::int32_t i1 = i0 + 1;
    const float x0 = x - static_cast<float>(i0);
    const float x1 = x0 - 1.0f;
    const std::uint8_t h0 = noise_permutation[static_cast<std::uint32_t>(i0) & 255u];
    const std::uint8_t h1 = noise_permutation[static_cast<std::uint32_t>(i1) & 255u];
    return (gradient_part(h1, x1) + gradient_part(h0, x0)) * 0.395f;
}

}  // namespace gamepad
