#pragma once

#include <QByteArray>

#include <cstdint>

#include "gamepad/writer.h"

namespace gamepad {

struct AttributeInfo;

// What the constant and the noise writers share: one attribute of one pad, found by id, held
// until a deadline. Unresolved (no attribute) means done.
class TimedWriter : public Writer {
public:
    // Polling thread. False once the attribute is gone or the deadline has come.
    bool is_active() override;

    std::uint64_t pad() const { return pad_; }
    const QByteArray& attribute_id() const { return attribute_id_; }
    std::int64_t deadline() const { return deadline_; }
    std::uint64_t attribute_index() const { return attribute_index_; }

protected:
    TimedWriter(std::uint64_t pad, QByteArray attribute_id, std::int64_t deadline);

    // Polling thread. Looks the id up on the pad's present list and returns the first matching
    // row, or null (and no attribute) when the pad has none.
    const AttributeInfo* resolve_attribute(Backend& backend);

    // The slot this writer fills this tick, or null when unresolved or out of range.
    AttributeValue* output_slot(std::vector<GamepadState>& output_states) const;

    const std::uint64_t pad_;
    const QByteArray attribute_id_;
    const std::int64_t deadline_;  // ns of the monotonic clock
    std::uint64_t attribute_index_ = no_attribute;
};

}  // namespace gamepad
