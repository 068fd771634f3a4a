#pragma once

#include <cstdint>
#include <type_traits>

#include "records/attribute_type.h"

namespace gamepad {

struct StickValue {
    double deadzone;  // fraction of the axis that counts as rest; travels with every sample
    double x;
    double y;
};

// One value of one attribute. Vectors of these are resized and copied for every pad on every
// tick, so it stays a plain, pointer-free record: all-zero bytes are Empty, and
// value-initialisation (`AttributeValue()`, `std::vector::resize`) zero-fills it.
struct AttributeValue {
    enum class Kind : std::uint8_t { Empty = 0, Button = 1, Trigger = 2, Stick = 3, Motor = 4 };

    Kind kind;
    union Payload {
        bool button;
        double trigger;
        StickValue stick;
        double motor;
    } payload;

    // Each fills the payload of its kind and leaves the bytes that kind does not use zero.
    static AttributeValue make_button(bool pressed) noexcept;
    static AttributeValue make_trigger(double amount) noexcept;
    static AttributeValue make_stick(StickValue stick) noexcept;
    static AttributeValue make_motor(double speed) noexcept;

    // The kind a value of an attribute of `type` carries once filled.
    static constexpr Kind kind_of(AttributeType type) noexcept {
        return static_cast<Kind>(static_cast<std::uint32_t>(type) + 1);
    }

    // Each gives the zero of its type when the value holds another kind, Empty included.
    bool as_button() const noexcept { return kind == Kind::Button && payload.button; }
    double as_trigger() const noexcept { return kind == Kind::Trigger ? payload.trigger : 0.0; }
    StickValue as_stick() const noexcept {
        return kind == Kind::Stick ? payload.stick : StickValue{0.0, 0.0, 0.0};
    }
    double as_motor() const noexcept { return kind == Kind::Motor ? payload.motor : 0.0; }
};

static_assert(std::is_trivially_copyable_v<AttributeValue>);
static_assert(std::is_trivially_destructible_v<AttributeValue>);
static_assert(std::is_trivially_default_constructible_v<AttributeValue>);

}  // namespace gamepad
