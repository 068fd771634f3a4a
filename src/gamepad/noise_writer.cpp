#include "gamepad/noise_writer.h"

#include <QRandomGenerator64>

#include <cmath>
#include <utility>

#include "backend/attribute_info.h"
#include "gamepad/simplex_noise.h"
#include "platform/monotonic_clock.h"

namespace gamepad {

NoiseWriter::NoiseWriter(std::uint64_t pad, QByteArray attribute_id, double frequency,
                         double amplitude, double seed, std::int64_t deadline)
    : TimedWriter(pad, std::move(attribute_id), deadline),
      frequency_(frequency),
      amplitude_(amplitude),
      seed_(seed) {}

void NoiseWriter::resolve(Backend& backend) {
    if (const AttributeInfo* row = resolve_attribute(backend)) attribute_type_ = row->type;
}

void NoiseWriter::apply(const std::vector<GamepadState>&,
                        std::vector<GamepadState>& output_states) {
    AttributeValue* slot = output_slot(output_states);
    if (slot == nullptr) return;
    // Time runs backwards along the noise axis and reaches the seed at the deadline.
    const std::int64_t remaining = deadline_ - platform::monotonic_now_ns();
    const double position = static_cast<double>(remaining) / 1'000'000'000.0 * frequency_ + seed_;
    *slot = blend(attribute_type_, *slot, simplex_noise(static_cast<float>(position)), amplitude_);
}

AttributeValue NoiseWriter::blend(AttributeType type, const AttributeValue& previous, float noise,
                                  double amplitude) noexcept {
    const double v = static_cast<double>(noise);
    const double u = v * 0.5 + 0.5;
    const auto toward = [amplitude](double from, double to) {
        return from + (to - from) * amplitude;
    };
    switch (type) {
        case AttributeType::Button:
            return AttributeValue::make_button(previous.as_button() || amplitude >= u);
        case AttributeType::Trigger:
            return AttributeValue::make_trigger(toward(previous.as_trigger(), u));
        case AttributeType::Motor:
            return AttributeValue::make_motor(toward(previous.as_motor(), u));
        case AttributeType::Stick: {
            double angle = v * 3.141592653589793;
            angle = angle + angle;
            const StickValue p = previous.as_stick();
            return AttributeValue::make_stick(
                {p.deadzone, toward(p.x, std::sin(angle)), toward(p.y, std::cos(angle))});
        }
    }
    return previous;
}

double noise_seed_from_bits(std::uint64_t bits) noexcept {
    return static_cast<double>(bits >> 11) * 1.1102230246251565e-16 * 1'000'000.0;
}

double draw_noise_seed() {
    return noise_seed_from_bits(QRandomGenerator64::global()->generate());
}

}  // namespace gamepad
