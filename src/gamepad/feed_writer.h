#pragma once

#include <cstdint>
#include <vector>

#include "gamepad/writer.h"

namespace gamepad {

struct FeedMapping {
    AttributeDirection direction = AttributeDirection::Input;
    std::uint64_t source_index = no_attribute;  // position on the source pad, or none
};

// Mirrors one pad into another, by attribute id: inputs flow from the source to the target,
// motors flow back. Ends only when removed.
class FeedWriter final : public Writer {
public:
    // Main thread.
    FeedWriter(std::uint64_t source_pad, std::uint64_t target_pad);

    bool is_active() override { return true; }
    void resolve(Backend& backend) override;
    void apply(const std::vector<GamepadState>& input_states,
               std::vector<GamepadState>& output_states) override;

    std::uint64_t source_pad() const { return source_pad_; }
    std::uint64_t target_pad() const { return target_pad_; }
    // One entry per position of the target pad.
    const std::vector<FeedMapping>& mapping() const { return mapping_; }

private:
    const std::uint64_t source_pad_;
    const std::uint64_t target_pad_;
    std::vector<FeedMapping> mapping_;
};

}  // namespace gamepad
