#include <gtest/gtest.h>

#include "nodes/action_node.h"

namespace {

using gamepad::AttributeType;

// Every 100 of the slider is three octaves; a button's slider starts where an axis's middle is.
TEST(NoiseFrequency, SliderMapsToOctavesAndButtonsRunAhead) {
    const struct {
        AttributeType kind;
        int slider;
        double frequency;
    } table[] = {{AttributeType::Button, 0, 0.5},    {AttributeType::Button, 100, 4.0},
                 {AttributeType::Button, 200, 32.0}, {AttributeType::Trigger, 0, 0.0625},
                 {AttributeType::Trigger, 100, 0.5}, {AttributeType::Trigger, 200, 4.0},
                 {AttributeType::Stick, 100, 0.5},   {AttributeType::Stick, 200, 4.0}};
    for (const auto& row : table) {
        EXPECT_DOUBLE_EQ(noise_frequency(row.kind, row.slider), row.frequency) << row.slider;
    }
}

}  // namespace
