#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "zestsim/zestsim.h"

namespace zesthost {

// The words for the simulated pads' controls that the command language and the window share.
struct PadButton {
    const char* name;
    std::uint16_t mask;
};

struct PadKind {
    const char* name;   // as a command takes it
    const char* label;  // as a person reads it
    zestsim::Subtype subtype;
};

// Every button, in the order of their bits.
std::span<const PadButton> pad_buttons();
std::optional<std::uint16_t> button_mask(std::string_view name);

std::span<const PadKind> pad_kinds();
std::optional<zestsim::Subtype> pad_kind(std::string_view name);

// The virtual pad as other programs see it: the first target the driver shows in XInput.
std::optional<std::uint32_t> shown_target();

}  // namespace zesthost
