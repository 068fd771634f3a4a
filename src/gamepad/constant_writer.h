#pragma once

#include "gamepad/timed_writer.h"

namespace gamepad {

// Holds one value on one attribute until a deadline: a pressed button, a pulled trigger, a
// moved stick, a running motor.
class ConstantWriter final : public TimedWriter {
public:
    // Main thread.
    ConstantWriter(std::uint64_t pad, QByteArray attribute_id, AttributeValue value,
                   std::int64_t deadline);

    void resolve(Backend& backend) override;
    void apply(const std::vector<GamepadState>& input_states,
               std::vector<GamepadState>& output_states) override;

    const AttributeValue& value() const { return value_; }

private:
    const AttributeValue value_;
};

}  // namespace gamepad
