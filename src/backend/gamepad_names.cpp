#include "backend/gamepad_names.h"

#include "backend/xinput_subtypes.h"
#include "hostapi/translated_text.h"

namespace gamepad {

const char* gamepad_name_key(std::uint8_t subtype) noexcept {
    switch (subtype) {
        case subtype_wheel:
            return "WheelGamepad.Name.%1";
        case subtype_flight_stick:
            return "FlightStickGamepad.Name.%1";
        case subtype_guitar:
            return "GuitarGamepad.Name.%1";
        case subtype_drum_kit:
            return "DrumkitGamepad.Name.%1";
        default:
            return "GenericGamepad.Name.%1";
    }
}

QByteArray translated_gamepad_name(std::uint8_t subtype, std::size_t pad) {
    return translated_text_with_int(gamepad_name_key(subtype), static_cast<std::int32_t>(pad + 1));
}

}  // namespace gamepad
