#include <gtest/gtest.h>

#include "nodes/action_node.h"

namespace {

using enum gamepad::AttributeType;

// Every 100 of the slider is three octaves; a button's slider starts where an axis's middle is.
TEST(NoiseFrequency, SliderMapsToOctavesAndButtonsRunAhead) {
    const struct {
        gamepad::AttributeType kind;
        int slider;
        double frequency;
    } table[] = {{Button, 0, 0.5},     {Button, 100, 4.0},  {Button, 200, 32.0},
                 {Trigger, 0, 0.0625}, {Trigger, 100, 0.5}, {Trigger, 200, 4.0},
                 {Stick, 100, 0.5},    {Stick, 200, 4.0}};
    for (const auto& row : table)
        EXPECT_DOUBLE_EQ(noise_frequency(row.kind, row.slider), row.frequency) << row.slider;
}

}  // namespace
