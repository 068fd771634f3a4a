#include <gtest/gtest.h>

#include <set>
#include <string>

#include "backend/attribute_labels.h"
#include "backend/attribute_table.h"
#include "backend/gamepad_names.h"

namespace gamepad {
namespace {

TEST(AttributeTable, UniqueIdsAndEachXInputButtonBitOnce) {
    std::set<std::string> ids;
    std::uint32_t masks = 0;
    for (const AttributeRow& row : attribute_rows) {
        SCOPED_TRACE(row.info.id);
        EXPECT_TRUE(ids.insert(row.info.id).second);
        EXPECT_EQ(row.info.direction == AttributeDirection::Output,
                  row.info.type == AttributeType::Motor);
        EXPECT_EQ(masks & row.button_mask, 0u);
        masks |= row.button_mask;
        const bool digital_trigger = &row == &attribute_rows[row_button_left_trigger] ||
                                     &row == &attribute_rows[row_button_right_trigger];
        EXPECT_EQ(row.button_mask != 0, row.info.type == AttributeType::Button && !digital_trigger);
    }
    EXPECT_EQ(masks, 0xFFFFu & ~0x0800u);  // every wButtons bit but the unused one
    // The digital view of a trigger is labelled as the trigger.
    EXPECT_STREQ(attribute_rows[row_button_left_trigger].generic_label_key,
                 attribute_rows[row_trigger_left].generic_label_key);
    EXPECT_STREQ(attribute_rows[row_button_right_trigger].generic_label_key,
                 attribute_rows[row_trigger_right].generic_label_key);
}

// Device kinds override a few labels and the name (a drum kit's and a wheel's are read through
// the backend); every other subtype is generic.
TEST(AttributeTable, LabelAndNameKeysBySubtype) {
    const struct {
        std::uint8_t subtype;
        std::size_t row;
        const char* key;
    } overrides[] = {{6, 20, "Whammy bar/vertical orientation"},
                     {6, 17, "GenericGamepad.TriggerLeft"},  // guitars keep these
                     {2, 18, "WheelGamepad.TriggerRight"},
                     {2, 20, "GenericGamepad.StickRight"},  // wheels keep this
                     {4, 20, "FlightStickGamepad.StickRight"}};
    for (const auto& o : overrides)
        EXPECT_STREQ(attribute_label_key(o.subtype, o.row), o.key)
            << int{o.subtype} << " " << o.row;
    for (std::uint8_t generic : {0, 1, 3, 5, 7, 11, 19, 255}) {
        EXPECT_STREQ(gamepad_name_key(generic), "GenericGamepad.Name.%1");
        for (std::size_t row = 0; row < attribute_rows.size(); ++row)
            EXPECT_STREQ(attribute_label_key(generic, row), attribute_rows[row].generic_label_key);
    }
    EXPECT_EQ(attribute_label_key(1, attribute_rows.size()), nullptr);
}

}  // namespace
}  // namespace gamepad
