#include <functional>
#include <limits>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "plugin_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using Pad = zestsim::PadState;

constexpr std::uint32_t virtual_serial = 1;
constexpr int physical_pad = 0;
constexpr int virtual_pad = 1;  // the lowest free user index when it comes up
constexpr std::uint16_t button_a = 0x1000;
constexpr std::uint16_t button_b = 0x2000;
constexpr std::uint16_t full = 65535;  // a motor's speed at strength 100
constexpr std::uint16_t off = 0;

Pad shown() {
    return zestsim::target_report(virtual_serial);
}

zestsim::Vibration vibration() {
    return zestsim::vibration(physical_pad);
}

// The panel's lines, each followed by '|'.
std::string joined_lines(const hostkit::Panel& panel) {
    std::string joined;
    for (const std::string& line : panel_lines(panel))
        joined += line + '|';
    return joined;
}

class ActionNodeTest : public PluginTest {
protected:
    void SetUp() override {
        PluginTest::SetUp();
        zestsim::plug_pad(physical_pad, zestsim::Subtype::Gamepad);
    }

    // Connected, and its metadata, which makes it writable, delivered.
    void connect_virtual_pad() {
        ASSERT_TRUE(switch_virtual_pad(true));
        auto probe = make_node("pressgamepadbutton");
        ASSERT_TRUE(await_pad_list(*probe, 1));
    }

    static void fire(HostNode& node) { node.receive(hostkit::create_event()); }
};

// Button, trigger and stick need the virtual pad: until it is connected their panels show its
// state and nothing to choose; rumble goes to any pad. Then each type: its controls and defaults
// from the attribute list's last entry on, the device holding the value of a constant type or
// moving with a noise type once an event fires the node, and the device at rest after the
// deadline.
TEST_F(ActionNodeTest, EachTypeNeedsItsPadShowsItsDefaultsAndActsUntilTheDeadline) {
    // Noise shows as values seen, with a faster default for buttons.
    const auto moves = [](int (*sample)(), std::size_t distinct) {
        return [sample, distinct, seen = std::set<int>()]() mutable {
            seen.insert(sample());
            return seen.size() >= distinct;
        };
    };
    const std::string held = "  Duration (seconds): 0.5 (0.001 to inf)|  [Test]|";
    const std::string strength = "Strength: 100 (0 to 100, step 5)|" + held;
    const std::string noise =
        " (0 to 100, step 5)|  Duration (seconds): 5 (0.001 to inf)|  [Test]|";
    const struct {
        const char* type;
        int pad;
        const char* attribute;
        std::string panel_end;
        int strength;
        std::function<bool()> acts;
    } cases[] = {
        {"pressgamepadbutton", virtual_pad, "B button", "Y button|" + held, 0,
         [] { return shown().buttons == button_b; }},
        {"pressgamepadtrigger", virtual_pad, "Right trigger", strength, 50,
         [] { return shown().right_trigger == 127; }},
        {"movegamepadstick", virtual_pad, "Left stick", "Y: 0 (-100 to 100, step 10)|" + held, 0,
         [] { return shown().thumb_lx == 32767 && shown().thumb_ly == -16384; }},
        {"rumblegamepad", physical_pad, "Large motor", strength, 40,
         [] { return vibration().left == 26214; }},
        {"randompressgamepadbutton", virtual_pad, "X button", "Amplitude: 50" + noise, 0,
         moves([] { return int{shown().buttons}; }, 2)},
        {"randompressgamepadtrigger", virtual_pad, "Left trigger", "Amplitude: 100" + noise, 0,
         moves([] { return int{shown().left_trigger}; }, 3)},
        {"wigglegamepadstick", virtual_pad, "Right stick", "Amplitude: 100" + noise, 0,
         moves([] { return int{shown().thumb_ry}; }, 3)},
    };
    std::vector<std::unique_ptr<HostNode>> nodes;
    for (const auto& test : cases) {
        nodes.push_back(make_node(test.type));
        nodes.back()->build();
        EXPECT_EQ(panel_lines(nodes.back()->panel) == std::vector<std::string>{"    Disabled"},
                  test.pad == virtual_pad);
    }
    EXPECT_TRUE(await_pad_list(*nodes[3], 4));  // the rumble offers every pad: all have motors
    connect_virtual_pad();
    nodes[0]->build();  // only the virtual pad, and no attribute list before a pad is chosen
    EXPECT_THAT(panel_lines(nodes[0]->panel),
                ElementsAre("  Gamepad", "    ( ) Gamepad 2 (virtual)"));
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& test = cases[i];
        HostNode& node = *nodes[i];
        SCOPED_TRACE(test.type);
        select_attribute(node, test.pad, test.attribute);
        EXPECT_THAT(joined_lines(node.panel), EndsWith(test.panel_end));
        node.store.set("!strength", test.strength);  // keys a type lacks stay unread
        node.store.set("!x", 100);
        node.store.set("!y", -50);
        node.store.set("!frequency", 200);
        node.store.set("!seconds", 0.5);
        node.build();
        fire(node);
        EXPECT_TRUE(eventually(test.acts));
        EXPECT_TRUE(
            eventually([] { return fields(shown()) == fields(Pad{}) && vibration().left == 0; }));
    }
}

// A change of selection ends an override at once. Beyond the 32-bit milliseconds the hold and
// the test timer last about 24.8 days. With the virtual pad down the node lets its
// selection go, and takes it back from the untouched store when the pad is connected again.
// Odd stores never hold anything.
TEST_F(ActionNodeTest, ChangesOfSelectionOrPadEndOverridesAndOddStoresHoldNothing) {
    connect_virtual_pad();
    auto node = make_node("pressgamepadbutton");
    node->store.set("!seconds", 1e12);
    select_attribute(*node, virtual_pad, "B button");
    node->panel.script_click("Test");
    node->build();
    ASSERT_TRUE(eventually([] { return shown().buttons == button_b; }));
    select_attribute(*node, virtual_pad, "A button");
    ASSERT_TRUE(eventually([] { return shown().buttons == 0; }));
    EXPECT_EQ(node->panel.controls().back().text, "Stop test");  // the test timer runs on

    fire(*node);
    ASSERT_TRUE(eventually([] { return shown().buttons == button_a; }));
    const int a = node->store.get<int>("!attribute").value();
    ASSERT_TRUE(switch_virtual_pad(false));
    node->build();
    EXPECT_THAT(panel_lines(node->panel), ElementsAre("    Disabled"));
    EXPECT_EQ(node->display_name(), "Press Gamepad Button");
    fire(*node);  // nothing to fire on
    EXPECT_EQ(node->store.get<int>("!attribute"), a);

    ASSERT_TRUE(switch_virtual_pad(true));
    node->build();
    EXPECT_EQ(node->display_name(), "Press A button (Gamepad 2)");
    fire(*node);
    EXPECT_TRUE(eventually([] { return shown().buttons == button_a; }));

    // Selections no list has, and durations negative or not a number, fire nothing; the event
    // goes on all the same.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::tuple<int, int, double> rows[]{
        {9, a, 1.0}, {virtual_pad, 12345, 1.0}, {virtual_pad, a, -1.0}, {virtual_pad, a, nan}};
    for (const auto& [pad, id, seconds] : rows) {
        node->store.set("!gamepad", pad);
        node->store.set("!attribute", id);
        node->store.set("!seconds", seconds);
        node->build();
        fire(*node);
        await_reads(virtual_pad);
        await_reads(virtual_pad);
        EXPECT_EQ(shown().buttons, 0);
    }
    EXPECT_EQ(node->passed_on(), 7u);
    EXPECT_EQ(hostkit::live_event_count(), 0u);
}

// An override belongs to the node that set it last: when that node is deleted or chooses
// another attribute, that override ends, and only it; another node's stays.
TEST_F(ActionNodeTest, OverridesBelongToTheirNodeAndEndWithIt) {
    const auto motors = [] { return std::pair{vibration().left, vibration().right}; };
    const auto rumble = [&](const std::string& motor) {
        auto node = make_node("rumblegamepad");
        EXPECT_TRUE(await_pad_list(*node, 4));
        node->store.set("!seconds", 3600.0);
        select_attribute(*node, physical_pad, motor);
        fire(*node);
        return node;
    };
    auto large = rumble("Large motor");
    auto small = rumble("Small motor");
    ASSERT_TRUE(eventually([&] { return motors() == std::pair{full, full}; }));
    large.reset();
    EXPECT_TRUE(eventually([&] { return motors() == std::pair{off, full}; }));

    // A node that leaves an attribute another node fired on since leaves that override alone.
    large = rumble("Small motor");
    select_attribute(*small, physical_pad, "Large motor");
    await_reads(physical_pad);
    await_reads(physical_pad);
    EXPECT_EQ(motors(), (std::pair{off, full}));
    small.reset();
    large.reset();
    EXPECT_TRUE(eventually([&] { return motors() == std::pair{off, off}; }));
}

}  // namespace
