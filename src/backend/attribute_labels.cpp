#include "backend/attribute_labels.h"

#include <array>

#include "backend/attribute_table.h"
#include "backend/xinput_subtypes.h"

namespace gamepad {

namespace {

struct LabelOverride {
    std::uint8_t subtype;
    std::size_t row;
    const char* key;
};

constexpr std::array<LabelOverride, 24> label_overrides{{
    {subtype_wheel, 19, "WheelGamepad.StickLeft"},
    {subtype_wheel, 10, "WheelGamepad.TriggerLeft"},
    {subtype_wheel, 17, "WheelGamepad.TriggerLeft"},
    {subtype_wheel, 11, "WheelGamepad.TriggerRight"},
    {subtype_wheel, 18, "WheelGamepad.TriggerRight"},
    {subtype_flight_stick, 19, "FlightStickGamepad.StickLeft"},
    {subtype_flight_stick, 20, "FlightStickGamepad.StickRight"},
    {subtype_flight_stick, 10, "FlightStickGamepad.TriggerLeft"},
    {subtype_flight_stick, 17, "FlightStickGamepad.TriggerLeft"},
    {subtype_flight_stick, 11, "FlightStickGamepad.TriggerRight"},
    {subtype_flight_stick, 18, "FlightStickGamepad.TriggerRight"},
    {subtype_guitar, 0, "GuitarGamepad.ButtonDPadUp"},
    {subtype_guitar, 1, "GuitarGamepad.ButtonDPadDown"},
    {subtype_guitar, 13, "GuitarGamepad.ButtonA"},
    {subtype_guitar, 14, "GuitarGamepad.ButtonB"},
    {subtype_guitar, 15, "GuitarGamepad.ButtonX"},
    {subtype_guitar, 16, "GuitarGamepad.ButtonY"},
    {subtype_guitar, 8, "GuitarGamepad.ButtonLeftShoulder"},
    {subtype_guitar, 20, "Whammy bar/vertical orientation"},  // this key has no prefix
    {subtype_drum_kit, 13, "DrumkitGamepad.ButtonA"},
    {subtype_drum_kit, 14, "DrumkitGamepad.ButtonB"},
    {subtype_drum_kit, 15, "DrumkitGamepad.ButtonX"},
    {subtype_drum_kit, 16, "DrumkitGamepad.ButtonY"},
    {subtype_drum_kit, 8, "DrumkitGamepad.ButtonLeftShoulder"},
}};

}  // namespace

const char* attribute_label_key(std::uint8_t subtype, std::size_t row) noexcept {
    for (const LabelOverride& entry : label_overrides) {
        if (entry.subtype == subtype && entry.row == row) return entry.key;
    }
    return row < attribute_rows.size() ? attribute_rows[row].generic_label_key : nullptr;
}

}  // namespace gamepad
