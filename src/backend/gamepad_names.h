#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>

namespace gamepad {

// The translation key of a pad's name by its XInput subtype; it takes the pad number as %1.
const char* gamepad_name_key(std::uint8_t subtype) noexcept;

// The translated name of `pad`, numbered from 1 as people count. Safe on the polling thread.
QByteArray translated_gamepad_name(std::uint8_t subtype, std::size_t pad);

}  // namespace gamepad
