#include <gtest/gtest.h>

#include <vector>

#include "records/carried_values.h"

namespace gamepad {
namespace {

GamepadAttribute attribute(const char* id, AttributeType type = AttributeType::Trigger) {
    return {id, QByteArray("label ") + id, type, AttributeDirection::Input};
}

TEST(CarriedValues, FollowIdsAcrossAMetadataChange) {
    const std::vector<GamepadAttribute> old_attributes{attribute("one"), attribute("two")};
    const std::vector<AttributeValue> old_values{AttributeValue::make_trigger(1),
                                                 AttributeValue::make_trigger(2)};
    const CarriedValues carried(old_attributes, old_values);

    EXPECT_EQ(carried.value_for("two").as_trigger(), 2.0);
    EXPECT_EQ(carried.value_for("three").kind, AttributeValue::Kind::Empty);
    EXPECT_EQ(carried.value_for("one").as_trigger(), 1.0);
}

TEST(CarriedValues, KeepKindFirstDuplicateAndSurviveShortValueLists) {
    const std::vector<GamepadAttribute> old_attributes{
        attribute("a", AttributeType::Button), attribute("b"), attribute("a"), attribute("c")};
    const std::vector<AttributeValue> old_values{AttributeValue::make_button(true),
                                                 AttributeValue::make_trigger(0.5),
                                                 AttributeValue::make_trigger(0.9)};
    const CarriedValues carried(old_attributes, old_values);

    const AttributeValue a = carried.value_for("a");
    EXPECT_EQ(a.kind, AttributeValue::Kind::Button);  // the first "a" wins, kind and all
    EXPECT_TRUE(a.as_button());
    EXPECT_EQ(carried.value_for("c").kind, AttributeValue::Kind::Empty);  // had no value

    const CarriedValues nothing({}, {});
    EXPECT_EQ(nothing.value_for("a").kind, AttributeValue::Kind::Empty);
}

}  // namespace
}  // namespace gamepad
