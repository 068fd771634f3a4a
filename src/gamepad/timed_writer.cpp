#include "gamepad/timed_writer.h"

#include <cstring>
#include <utility>

#include "backend/backend.h"
#include "platform/monotonic_clock.h"

namespace gamepad {

namespace {

// A null id counts as the empty one.
bool same_id(const char* row_id, const QByteArray& id) {
    const std::size_t length = row_id == nullptr ? 0 : std::strlen(row_id);
    return length == static_cast<std::size_t>(id.size()) &&
           (length == 0 || std::memcmp(row_id, id.constData(), length) == 0);
}

}  // namespace

TimedWriter::TimedWriter(std::uint64_t pad, QByteArray attribute_id, std::int64_t deadline)
    : pad_(pad), attribute_id_(std::move(attribute_id)), deadline_(deadline) {}

bool TimedWriter::is_active() {
    return attribute_index_ != no_attribute && platform::monotonic_now_ns() < deadline_;
}

const AttributeInfo* TimedWriter::resolve_attribute(Backend& backend) {
    attribute_index_ = no_attribute;
    const std::size_t count = backend.attribute_count(pad_);
    for (std::size_t position = 0; position < count; ++position) {
        const AttributeInfo& row = backend.attribute_info(pad_, position);
        if (same_id(row.id, attribute_id_)) {
            attribute_index_ = position;
            return &row;
        }
    }
    return nullptr;
}

AttributeValue* TimedWriter::output_slot(std::vector<GamepadState>& output_states) const {
    if (attribute_index_ == no_attribute || pad_ >= output_states.size()) return nullptr;
    std::vector<AttributeValue>& values = output_states[pad_].values;
    return attribute_index_ < values.size() ? &values[attribute_index_] : nullptr;
}

}  // namespace gamepad
