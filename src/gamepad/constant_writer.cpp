#include "gamepad/constant_writer.h"

#include <utility>

namespace gamepad {

ConstantWriter::ConstantWriter(std::uint64_t pad, QByteArray attribute_id, AttributeValue value,
                               std::int64_t deadline)
    : TimedWriter(pad, std::move(attribute_id), deadline), value_(value) {}

void ConstantWriter::resolve(Backend& backend) {
    resolve_attribute(backend);
}

void ConstantWriter::apply(const std::vector<GamepadState>&,
                           std::vector<GamepadState>& output_states) {
    if (AttributeValue* slot = output_slot(output_states)) *slot = value_;
}

}  // namespace gamepad
