#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace zesthost {

// The words for the pads' controls that the command language and the window share.
struct PadButton {
    const char* name;
    std::uint16_t mask;
};

struct PadKind {
    const char* name;      // as a command takes it
    const char* label;     // as a person reads it
    std::uint8_t subtype;  // XInput's device subtype
};

// Every button, in the order of their bits.
std::span<const PadButton> pad_buttons();
std::optional<std::uint16_t> button_mask(std::string_view name);

std::span<const PadKind> pad_kinds();
std::optional<std::uint8_t> pad_kind(std::string_view name);

}  // namespace zesthost
