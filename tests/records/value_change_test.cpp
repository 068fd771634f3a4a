#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "records/value_change.h"

namespace gamepad {
namespace {

using Kind = AttributeValue::Kind;

AttributeValue stick(double deadzone, double x, double y = 0.0) {
    return AttributeValue::make_stick({deadzone, x, y});
}

TEST(ApplyDeadzone, RescalesOutsideAndFlattensInside) {
    EXPECT_DOUBLE_EQ(apply_deadzone(0.25, 0.5), 1.0 / 3.0);
    EXPECT_DOUBLE_EQ(apply_deadzone(0.25, -0.5), -1.0 / 3.0);
    EXPECT_EQ(apply_deadzone(0.25, 1.0), 1.0);
    EXPECT_EQ(apply_deadzone(0.25, -1.0), -1.0);
    EXPECT_EQ(apply_deadzone(0.0, -0.5), -0.5);
    EXPECT_EQ(apply_deadzone(0.25, 0.25), 0.0);  // the edge belongs to the deadzone
    EXPECT_EQ(apply_deadzone(0.25, -0.1), 0.0);
    EXPECT_TRUE(std::isnan(apply_deadzone(0.25, std::nan(""))));
}

TEST(AttributeValueChanged, SticksCompareRescaledAxesEachWithItsOwnDeadzone) {
    const auto changed = [](const AttributeValue& a, const AttributeValue& b) {
        return attribute_value_changed(AttributeType::Stick, a, b);
    };
    EXPECT_FALSE(changed(stick(0.25, 0.10), stick(0.25, 0.20)));  // both inside
    EXPECT_TRUE(changed(stick(0.25, 0.20), stick(0.25, 0.30)));
    EXPECT_TRUE(changed(stick(0.25, 0.0, 0.20), stick(0.25, 0.0, 0.30)));  // y alone
    // Only the deadzone differs: at rest that is no change, in travel it rescales differently.
    EXPECT_FALSE(changed(stick(0.2, 0.1, -0.1), stick(0.3, 0.15, 0.0)));
    EXPECT_TRUE(changed(stick(0.2, 0.6), stick(0.3, 0.6)));
    EXPECT_FALSE(changed(stick(0.5, 0.5), stick(0.0, 0.0)));
}

TEST(AttributeValueChanged, EmptyEqualsTheZeroOfEveryType) {
    const AttributeValue empty{};
    EXPECT_FALSE(
        attribute_value_changed(AttributeType::Button, empty, AttributeValue::make_button(false)));
    EXPECT_FALSE(
        attribute_value_changed(AttributeType::Trigger, empty, AttributeValue::make_trigger(0.0)));
    EXPECT_FALSE(attribute_value_changed(AttributeType::Stick, empty, stick(0.24, 0.1, -0.2)));
    EXPECT_FALSE(
        attribute_value_changed(AttributeType::Motor, AttributeValue::make_motor(0.0), empty));
    EXPECT_TRUE(
        attribute_value_changed(AttributeType::Button, empty, AttributeValue::make_button(true)));
    EXPECT_TRUE(
        attribute_value_changed(AttributeType::Motor, AttributeValue::make_motor(0.5), empty));
}

TEST(AttributeValueChanged, GoesByDeclaredTypeNotByKind) {
    AttributeValue fake_button = AttributeValue::make_trigger(1.0);
    EXPECT_FALSE(fake_button.as_button());
    EXPECT_FALSE(attribute_value_changed(AttributeType::Button, fake_button, AttributeValue{}));
    EXPECT_TRUE(attribute_value_changed(AttributeType::Trigger, fake_button, AttributeValue{}));
    // A motor and a trigger hold the same double, yet neither reads as the other.
    EXPECT_EQ(AttributeValue::make_motor(0.7).as_trigger(), 0.0);
    EXPECT_EQ(AttributeValue::make_trigger(0.7).as_motor(), 0.0);
    const StickValue rest = AttributeValue::make_button(true).as_stick();
    EXPECT_EQ(rest.deadzone, 0.0);
    EXPECT_EQ(rest.x, 0.0);
    EXPECT_EQ(rest.y, 0.0);
    EXPECT_FALSE(attribute_value_changed(static_cast<AttributeType>(7),
                                         AttributeValue::make_button(false),
                                         AttributeValue::make_button(true)));
}

TEST(AttributeValueChanged, NanIsAlwaysAChange) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const AttributeValue value = AttributeValue::make_trigger(nan);
    EXPECT_TRUE(attribute_value_changed(AttributeType::Trigger, value, value));
    EXPECT_TRUE(attribute_value_changed(AttributeType::Motor, AttributeValue::make_motor(nan),
                                        AttributeValue::make_motor(nan)));
    EXPECT_TRUE(attribute_value_changed(AttributeType::Stick, stick(0.25, nan), stick(0.25, nan)));
}

TEST(AttributeValue, FreshValuesAreZeroBytesAndFilledKindsFollowTheType) {
    std::vector<AttributeValue> values(3, AttributeValue::make_trigger(0.5));
    values.clear();
    values.resize(4);
    const unsigned char zeros[sizeof(AttributeValue)] = {};
    for (const AttributeValue& value : values) {
        EXPECT_EQ(value.kind, Kind::Empty);
        EXPECT_EQ(std::memcmp(&value, zeros, sizeof zeros), 0);
    }
    EXPECT_EQ(AttributeValue::make_button(true).kind,
              AttributeValue::kind_of(AttributeType::Button));
    EXPECT_EQ(AttributeValue::make_trigger(1).kind,
              AttributeValue::kind_of(AttributeType::Trigger));
    EXPECT_EQ(AttributeValue::make_stick({}).kind, AttributeValue::kind_of(AttributeType::Stick));
    EXPECT_EQ(AttributeValue::make_motor(1).kind, AttributeValue::kind_of(AttributeType::Motor));
    EXPECT_EQ(AttributeValue::kind_of(AttributeType::Motor), Kind::Motor);
}

}  // namespace
}  // namespace gamepad
