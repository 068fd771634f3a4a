#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "backend/attribute_labels.h"
#include "backend/attribute_table.h"
#include "backend/gamepad_names.h"

namespace gamepad {
namespace {

std::string id_of(std::size_t row) {
    return attribute_rows[row].info.id;
}

TEST(AttributeTable, RowsHaveUniqueIdsAndTheXInputButtonBits) {
    std::set<std::string> ids;
    std::uint32_t masks = 0;
    for (std::size_t row = 0; row < attribute_rows.size(); ++row) {
        const AttributeRow& entry = attribute_rows[row];
        EXPECT_TRUE(ids.insert(entry.info.id).second) << entry.info.id;
        EXPECT_EQ(entry.info.direction == AttributeDirection::Output,
                  entry.info.type == AttributeType::Motor)
            << entry.info.id;
        EXPECT_EQ(masks & entry.button_mask, 0u) << entry.info.id;
        masks |= entry.button_mask;
        const bool digital_trigger =
            row == row_button_left_trigger || row == row_button_right_trigger;
        EXPECT_EQ(entry.button_mask != 0,
                  entry.info.type == AttributeType::Button && !digital_trigger)
            << entry.info.id;
    }
    EXPECT_EQ(masks, 0xFFFFu & ~0x0800u);  // every wButtons bit but the unused one
    EXPECT_EQ(attribute_rows[13].button_mask, 0x1000);
    EXPECT_EQ(id_of(13), "button_a");
    EXPECT_EQ(attribute_rows[12].button_mask, 0x0400);
    EXPECT_EQ(id_of(12), "button_guide");
}

TEST(AttributeTable, NamedRowsAndSharedTriggerLabels) {
    EXPECT_EQ(id_of(row_button_left_trigger), "button_left_trigger");
    EXPECT_EQ(id_of(row_button_right_trigger), "button_right_trigger");
    EXPECT_EQ(id_of(row_trigger_left), "trigger_left");
    EXPECT_EQ(id_of(row_trigger_right), "trigger_right");
    EXPECT_EQ(id_of(row_stick_left), "stick_left");
    EXPECT_EQ(id_of(row_stick_right), "stick_right");
    EXPECT_EQ(id_of(row_motor_left), "motor_left");
    EXPECT_EQ(id_of(row_motor_right), "motor_right");
    EXPECT_STREQ(attribute_rows[row_button_left_trigger].generic_label_key,
                 attribute_rows[row_trigger_left].generic_label_key);
    EXPECT_STREQ(attribute_rows[row_button_right_trigger].generic_label_key,
                 attribute_rows[row_trigger_right].generic_label_key);
    EXPECT_STREQ(attribute_rows[row_motor_left].generic_label_key, "GenericGamepad.MotorLarge");
    EXPECT_STREQ(attribute_rows[row_motor_right].generic_label_key, "GenericGamepad.MotorSmall");
}

TEST(AttributeLabelKey, DeviceKindsOverrideAFewRowsAndFallBackToGeneric) {
    EXPECT_STREQ(attribute_label_key(8, 13), "DrumkitGamepad.ButtonA");
    EXPECT_STREQ(attribute_label_key(8, 0), "GenericGamepad.ButtonDPadUp");
    EXPECT_STREQ(attribute_label_key(6, 20), "Whammy bar/vertical orientation");
    EXPECT_STREQ(attribute_label_key(6, 17), "GenericGamepad.TriggerLeft");  // guitars keep these
    EXPECT_STREQ(attribute_label_key(2, 10), "WheelGamepad.TriggerLeft");
    EXPECT_STREQ(attribute_label_key(2, 18), "WheelGamepad.TriggerRight");
    EXPECT_STREQ(attribute_label_key(2, 20), "GenericGamepad.StickRight");  // wheels keep this
    EXPECT_STREQ(attribute_label_key(4, 20), "FlightStickGamepad.StickRight");
    for (std::size_t row = 0; row < attribute_rows.size(); ++row) {
        for (std::uint8_t generic : {0, 1, 3, 5, 7, 11, 19, 255}) {
            EXPECT_STREQ(attribute_label_key(generic, row), attribute_rows[row].generic_label_key);
        }
    }
    EXPECT_EQ(attribute_label_key(1, attribute_rows.size()), nullptr);
}

TEST(GamepadNameKey, BySubtype) {
    EXPECT_STREQ(gamepad_name_key(2), "WheelGamepad.Name.%1");
    EXPECT_STREQ(gamepad_name_key(4), "FlightStickGamepad.Name.%1");
    EXPECT_STREQ(gamepad_name_key(6), "GuitarGamepad.Name.%1");
    EXPECT_STREQ(gamepad_name_key(8), "DrumkitGamepad.Name.%1");
    for (std::uint8_t generic : {0, 1, 3, 5, 7, 11, 19, 255}) {
        EXPECT_STREQ(gamepad_name_key(generic), "GenericGamepad.Name.%1");
    }
}

}  // namespace
}  // namespace gamepad
