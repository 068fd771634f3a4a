#include "gamepad/feed_writer.h"

#include <string_view>
#include <unordered_map>

#include "backend/backend.h"

namespace gamepad {

namespace {

std::string_view id_of(const AttributeInfo& row) {
    return row.id == nullptr ? std::string_view() : std::string_view(row.id);
}

// The value at `index`, or null when a list is shorter than the mapping expects.
template <typename Values>
auto* at(Values& values, std::uint64_t index) {
    return index < values.size() ? &values[index] : nullptr;
}

}  // namespace

FeedWriter::FeedWriter(std::uint64_t source_pad, std::uint64_t target_pad)
    : source_pad_(source_pad), target_pad_(target_pad) {}

void FeedWriter::resolve(Backend& backend) {
    std::unordered_map<std::string_view, std::uint64_t> source_positions;
    const std::size_t source_count = backend.attribute_count(source_pad_);
    for (std::size_t j = 0; j < source_count; ++j) {
        source_positions.emplace(id_of(backend.attribute_info(source_pad_, j)), j);  // first wins
    }
    const std::size_t target_count = backend.attribute_count(target_pad_);
    mapping_.clear();
    mapping_.reserve(target_count);
    for (std::size_t i = 0; i < target_count; ++i) {
        FeedMapping& entry = mapping_.emplace_back();
        const AttributeInfo& target = backend.attribute_info(target_pad_, i);
        const auto found = source_positions.find(id_of(target));
        if (found == source_positions.end()) continue;
        const AttributeInfo& source = backend.attribute_info(source_pad_, found->second);
        if (source.direction == target.direction && source.type == target.type) {
            entry = {target.direction, found->second};
        }
    }
}

void FeedWriter::apply(const std::vector<GamepadState>& input_states,
                       std::vector<GamepadState>& output_states) {
    const GamepadState* source_in = at(input_states, source_pad_);
    const GamepadState* target_in = at(input_states, target_pad_);
    GamepadState* source_out = at(output_states, source_pad_);
    GamepadState* target_out = at(output_states, target_pad_);
    if (!source_in || !target_in || !source_out || !target_out) return;
    if (!source_in->is_connected || !target_in->is_connected) return;
    for (std::size_t i = 0; i < mapping_.size(); ++i) {
        const FeedMapping& entry = mapping_[i];
        if (entry.source_index == no_attribute) continue;
        const bool input = entry.direction == AttributeDirection::Input;
        const AttributeValue* from =
            input ? at(source_in->values, entry.source_index) : at(target_in->values, i);
        AttributeValue* to =
            input ? at(target_out->values, i) : at(source_out->values, entry.source_index);
        if (from && to) *to = *from;
    }
}

}  // namespace gamepad
