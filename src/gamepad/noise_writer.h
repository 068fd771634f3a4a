#pragma once

#include <cstdint>

#include "gamepad/timed_writer.h"

namespace gamepad {

// Drives one attribute with simplex noise over time until a deadline: a random press of a
// button or a trigger, a wiggle of a stick. Stateless from tick to tick: every value comes from
// the clock, the seed and what earlier writers left in the slot this tick.
class NoiseWriter final : public TimedWriter {
public:
    // Main thread. `frequency` in noise units per second; `amplitude` is the press threshold of
    // a button and the blend factor of the other types; `seed` offsets the noise axis.
    NoiseWriter(std::uint64_t pad, QByteArray attribute_id, double frequency, double amplitude,
                double seed, std::int64_t deadline);

    void resolve(Backend& backend) override;
    void apply(const std::vector<GamepadState>& input_states,
               std::vector<GamepadState>& output_states) override;

    double frequency() const { return frequency_; }
    double amplitude() const { return amplitude_; }
    double seed() const { return seed_; }
    AttributeType attribute_type() const { return attribute_type_; }

    // What apply writes over `previous` for noise value `noise` of an attribute of `type`;
    // `previous` itself for a type it doesn't know.
    static AttributeValue blend(AttributeType type, const AttributeValue& previous, float noise,
                                double amplitude) noexcept;

private:
    const double frequency_;
    const double amplitude_;
    const double seed_;
    AttributeType attribute_type_ = AttributeType::Button;
};

// A fresh seed in [0, 1,000,000), from 53 random bits of the process-wide generator. Main
// thread.
double draw_noise_seed();
// The seed that the 64 random `bits` give.
double noise_seed_from_bits(std::uint64_t bits) noexcept;

}  // namespace gamepad
