#include "zesthost/pad_names.h"

#include <algorithm>
#include <array>

namespace zesthost {

namespace {

constexpr std::array<PadButton, 15> buttons{{{"up", 0x0001},
                                             {"down", 0x0002},
                                             {"left", 0x0004},
                                             {"right", 0x0008},
                                             {"start", 0x0010},
                                             {"back", 0x0020},
                                             {"ls", 0x0040},
                                             {"rs", 0x0080},
                                             {"lb", 0x0100},
                                             {"rb", 0x0200},
                                             {"guide", 0x0400},
                                             {"a", 0x1000},
                                             {"b", 0x2000},
                                             {"x", 0x4000},
                                             {"y", 0x8000}}};

constexpr std::array<PadKind, 5> kinds{{{"gamepad", "Gamepad", 1},
                                        {"wheel", "Wheel", 2},
                                        {"flightstick", "Flight stick", 4},
                                        {"guitar", "Guitar", 6},
                                        {"drumkit", "Drum kit", 8}}};

}  // namespace

std::span<const PadButton> pad_buttons() {
    return buttons;
}

std::optional<std::uint16_t> button_mask(std::string_view name) {
    const auto found =
        std::find_if(buttons.begin(), buttons.end(),
                     [name](const PadButton& button) { return button.name == name; });
    return found == buttons.end() ? std::nullopt : std::optional(found->mask);
}

std::span<const PadKind> pad_kinds() {
    return kinds;
}

std::optional<std::uint8_t> pad_kind(std::string_view name) {
    const auto found = std::find_if(kinds.begin(), kinds.end(),
                                    [name](const PadKind& kind) { return kind.name == name; });
    return found == kinds.end() ? std::nullopt : std::optional(found->subtype);
}

}  // namespace zesthost
