#pragma once

#include <cstddef>
#include <cstdint>

namespace gamepad {

// The translation key of the label of `row` on a pad of the XInput `subtype`: some device kinds
// name a few controls their own way; everything else takes the row's generic key.
const char* attribute_label_key(std::uint8_t subtype, std::size_t row) noexcept;

}  // namespace gamepad
