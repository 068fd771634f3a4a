#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

#include "records/carried_values.h"
#include "records/value_change.h"

namespace gamepad {
namespace {

using enum AttributeType;
using Kind = AttributeValue::Kind;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
const AttributeValue empty{};

const auto stick = [](double deadzone, double x, double y = 0.0) {
    return AttributeValue::make_stick({deadzone, x, y});
};
const auto button = [](bool pressed) { return AttributeValue::make_button(pressed); };
const auto trigger = [](double value) { return AttributeValue::make_trigger(value); };
const auto motor = [](double value) { return AttributeValue::make_motor(value); };

// Sticks compare with their deadzones applied. Each row is checked both ways round: a change is a
// change in either direction.
TEST(AttributeValueChanged, GoesByDeclaredTypeWithDeadzonesAndEmptyAsZero) {
    const struct {
        AttributeType type;
        AttributeValue one, other;
        bool changed;
    } cases[] = {
        {Stick, stick(0.25, 0.10), stick(0.25, 0.20), false},  // both inside
        {Stick, stick(0.25, 0.20), stick(0.25, 0.30), true},
        {Stick, stick(0.25, 0.0, 0.20), stick(0.25, 0.0, 0.30), true},  // y alone
        // Only the deadzone differs: at rest no change, in travel it rescales differently.
        {Stick, stick(0.2, 0.1, -0.1), stick(0.3, 0.15, 0.0), false},
        {Stick, stick(0.2, 0.6), stick(0.3, 0.6), true},
        {Stick, stick(0.5, 0.5), stick(0.0, 0.0), false},
        {Stick, stick(0.25, 0.25, -0.25), empty, false},  // the edge belongs to the deadzone
        // Outside, the travel is rescaled to the full range, on either side.
        {Stick, stick(0.5, 0.75, -1.0), stick(0.0, 0.5, -1.0), false},
        {Stick, stick(0.5, -0.75), stick(0.0, -0.5), false},
        {Button, empty, button(false), false},
        {Trigger, empty, trigger(0.0), false},
        {Stick, empty, stick(0.24, 0.1, -0.2), false},
        {Motor, motor(0.0), empty, false},
        {Button, empty, button(true), true},
        {Motor, motor(0.5), empty, true},
        {Trigger, trigger(0.5), trigger(0.2), true},
        // By the declared type through the accessors, not by the stored kind.
        {Button, trigger(1.0), empty, false},
        {Trigger, trigger(1.0), empty, true},
        {Trigger, motor(0.7), empty, false},
        {Motor, trigger(0.7), empty, false},
        {Stick, button(true), empty, false},
        {static_cast<AttributeType>(7), button(false), button(true), false},
        {Trigger, trigger(nan), trigger(nan), true},
        {Motor, motor(nan), motor(nan), true},
        {Stick, stick(0.25, nan), stick(0.25, nan), true},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& c = cases[i];
        EXPECT_EQ(attribute_value_changed(c.type, c.one, c.other), c.changed) << "row " << i;
        EXPECT_EQ(attribute_value_changed(c.type, c.other, c.one), c.changed) << "row " << i;
    }
}

TEST(AttributeValue, FreshValuesAreZeroBytes) {
    std::vector<AttributeValue> values(3, trigger(0.5));
    values.clear();
    values.resize(4);
    const unsigned char zeros[sizeof(AttributeValue)] = {};
    for (const AttributeValue& value : values)
        EXPECT_EQ(std::memcmp(&value, zeros, sizeof zeros), 0);
}

// Values follow their ids across a metadata change; an id that stood twice keeps its first value
// and kind; an attribute without a value, or new, gets Empty.
TEST(CarriedValues, FollowIdsKeepTheFirstOfADuplicateAndSurviveShortValueLists) {
    const auto attribute = [](const char* id, AttributeType type = Trigger) {
        return GamepadAttribute{id, QByteArray("label ") + id, type, AttributeDirection::Input};
    };
    const CarriedValues carried(
        {attribute("a", Button), attribute("b"), attribute("a"), attribute("c")},
        {button(true), trigger(0.5), trigger(0.9)});
    EXPECT_EQ(carried.value_for("b").as_trigger(), 0.5);
    EXPECT_EQ(carried.value_for("a").kind, Kind::Button);
    EXPECT_TRUE(carried.value_for("a").as_button());
    EXPECT_EQ(carried.value_for("c").kind, Kind::Empty);
    EXPECT_EQ(carried.value_for("new").kind, Kind::Empty);
    EXPECT_EQ(CarriedValues({}, {}).value_for("a").kind, Kind::Empty);
}

}  // namespace
}  // namespace gamepad
