#include <functional>
#include <limits>
#include <set>
#include <string>
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
    static void click(HostNode& node, const std::string& button) {
        node.panel.script_click(button);
        node.build();
    }
};

// Button, trigger and stick need the virtual pad: until it is connected their panels show its
// state and nothing to choose; rumble goes to any pad. Then each type: its controls and defaults
// from the attribute list's last entry on, the device holding the value of a constant type or
// moving with a noise type once an event fires the node, and the device at rest after the
// deadline.
TEST_F(ActionNodeTest, EachTypeNeedsItsPadShowsItsDefaultsAndActsUntilTheDeadline) {
    for (const char* type :
         {"pressgamepadbutton", "pressgamepadtrigger", "movegamepadstick",
          "randompressgamepadbutton", "randompressgamepadtrigger", "wigglegamepadstick"}) {
        auto node = make_node(type);
        node->build();
        EXPECT_THAT(panel_lines(node->panel), ElementsAre("    Disabled")) << type;
    }
    auto rumble = make_node("rumblegamepad");
    EXPECT_TRUE(await_pad_list(*rumble, 4));  // every pad has motors
    connect_virtual_pad();
    auto press = make_node("pressgamepadbutton");
    press->build();  // only the virtual pad, and no attribute list before a pad is chosen
    EXPECT_THAT(panel_lines(press->panel), ElementsAre("  Gamepad", "    ( ) Gamepad 2 (virtual)"));

    // Noise shows as values seen, with a faster default for buttons.
    const auto moves = [](int (*sample)(), std::size_t distinct) {
        return [sample, distinct, seen = std::set<int>()]() mutable {
            seen.insert(sample());
            return seen.size() >= distinct;
        };
    };
    const std::string strength = "  Strength: 100 (0 to 100, step 5)|";
    const std::string constant = "  Duration (seconds): 0.5 (0.001 to inf)|";
    const std::string noise = "  Frequency: 100 (0 to 200, step 10)|  Amplitude: ";
    const std::string noise_end = " (0 to 100, step 5)|  Duration (seconds): 5 (0.001 to inf)|";
    const struct {
        const char* type;
        int pad;
        const char* attribute;
        std::string panel_end;
        int strength;
        std::function<bool()> acts;
    } cases[] = {
        {"pressgamepadbutton", virtual_pad, "B button", "    ( ) Y button|" + constant, 0,
         [] { return shown().buttons == button_b; }},
        {"pressgamepadtrigger", virtual_pad, "Right trigger",
         "    (*) Right trigger|" + strength + constant, 50,
         [] { return shown().right_trigger == 127; }},
        {"movegamepadstick", virtual_pad, "Left stick",
         "    ( ) Right stick|  X: 0 (-100 to 100, step 10)|  Y: 0 (-100 to 100, step 10)|" +
             constant,
         0, [] { return shown().thumb_lx == 32767 && shown().thumb_ly == -16384; }},
        {"rumblegamepad", physical_pad, "Large motor", "    ( ) Small motor|" + strength + constant,
         40, [] { return vibration().left == 26214; }},
        {"randompressgamepadbutton", virtual_pad, "X button", noise + "50" + noise_end, 0,
         moves([] { return int{shown().buttons}; }, 2)},
        {"randompressgamepadtrigger", virtual_pad, "Left trigger", noise + "100" + noise_end, 0,
         moves([] { return int{shown().left_trigger}; }, 3)},
        {"wigglegamepadstick", virtual_pad, "Right stick", noise + "100" + noise_end, 0,
         moves([] { return int{shown().thumb_ry}; }, 3)},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.type);
        auto node = make_node(test.type);
        select_attribute(*node, test.pad, test.attribute);
        EXPECT_THAT(joined_lines(node->panel), EndsWith(test.panel_end + "  [Test]|"));
        node->store.set("!strength", test.strength);  // keys a type lacks stay unread
        node->store.set("!x", 100);
        node->store.set("!y", -50);
        node->store.set("!frequency", 200);
        node->store.set("!seconds", 0.5);
        node->build();
        fire(*node);
        EXPECT_TRUE(eventually(test.acts));
        EXPECT_TRUE(
            eventually([] { return fields(shown()) == fields(Pad{}) && vibration().left == 0; }));
    }
}

// Overrides belong to the attribute: a second firing replaces the first, whoever began it, and
// a change of selection ends it at once. Beyond the 32-bit milliseconds the hold and
// the test timer last about 24.8 days. With the virtual pad down the node lets its
// selection go, and takes it back from the untouched store when the pad is connected again.
// Odd stores never hold anything.
TEST_F(ActionNodeTest, LaterFiringsReplaceEarlierOnesStopsEndThemAndOddStoresHoldNothing) {
    connect_virtual_pad();
    auto node = make_node("pressgamepadbutton");
    auto short_press = make_node("pressgamepadbutton");
    node->store.set("!seconds", 1e12);
    short_press->store.set("!seconds", 0.05);
    select_attribute(*node, virtual_pad, "B button");
    select_attribute(*short_press, virtual_pad, "B button");
    fire(*node);
    ASSERT_TRUE(eventually([] { return shown().buttons == button_b; }));
    fire(*short_press);
    ASSERT_TRUE(eventually([] { return shown().buttons == 0; }));

    click(*node, "Test");
    ASSERT_TRUE(eventually([] { return shown().buttons == button_b; }));
    select_attribute(*node, virtual_pad, "A button");
    ASSERT_TRUE(eventually([] { return shown().buttons == 0; }));
    EXPECT_EQ(node->panel.controls().back().text, "Stop test");  // the test timer runs on

    fire(*node);
    ASSERT_TRUE(eventually([] { return shown().buttons == button_a; }));
    const hostkit::Store::Value attribute = node->store.values().at("!attribute");
    ASSERT_TRUE(switch_virtual_pad(false));
    node->build();
    EXPECT_THAT(panel_lines(node->panel), ElementsAre("    Disabled"));
    EXPECT_EQ(node->display_name(), "Press Gamepad Button");
    fire(*node);  // nothing to fire on
    EXPECT_EQ(node->store.values().at("!attribute"), attribute);

    ASSERT_TRUE(switch_virtual_pad(true));
    node->build();
    EXPECT_EQ(node->display_name(), "Press A button (Gamepad 2)");
    fire(*node);
    EXPECT_TRUE(eventually([] { return shown().buttons == button_a; }));

    // Selections no list has fire nothing, and the event goes on all the same.
    for (const auto& [pad, id] : std::vector<std::pair<int, int>>{{9, 0}, {1, 12345}}) {
        node->store.set("!gamepad", pad);
        node->store.set("!attribute", id);
        node->build();
        EXPECT_EQ(node->display_name(), "Press Gamepad Button");
        fire(*node);
    }
    EXPECT_TRUE(eventually([] { return shown().buttons == 0; }));
    // Durations negative or not a number last no time at all.
    node->store.set("!gamepad", virtual_pad);
    node->store.set("!attribute", attribute);
    for (double seconds : {-1.0, std::numeric_limits<double>::quiet_NaN()}) {
        node->store.set("!seconds", seconds);
        node->build();
        fire(*node);
        await_reads(virtual_pad);
        await_reads(virtual_pad);
        EXPECT_EQ(shown().buttons, 0);
    }
    EXPECT_EQ(node->passed_on(), 8u);
    EXPECT_EQ(hostkit::live_event_count(), 0u);
}

// An override belongs to the node that set it last: when that node is deleted or chooses
// another attribute, that override ends, and only it; another node's stays. Overrides follow
// the attribute, not its place in the list, across a pad swapped for one with another list. A
// deleted node's rumble never comes back when the core resumes.
TEST_F(ActionNodeTest, OverridesBelongToTheirNodeAndEndWithIt) {
    const auto motors = [] { return std::pair{vibration().left, vibration().right}; };
    const auto rumble = [&](const std::string& motor) {
        auto node = make_node("rumblegamepad");
        node->store.set("!seconds", 3600.0);
        select_attribute(*node, physical_pad, motor);
        return node;
    };
    const auto settle = [] {
        await_reads(physical_pad);
        await_reads(physical_pad);
    };
    auto keep = make_node("onbuttonpress");  // keeps the core running
    ASSERT_TRUE(await_pad_list(*keep, 4));
    auto large = rumble("Large motor");
    auto small = rumble("Small motor");
    fire(*large);
    fire(*small);
    ASSERT_TRUE(eventually([&] { return motors() == std::pair{full, full}; }));

    // A wheel has no right stick: both motors move up one place in its list. The pad comes back
    // asked for the speeds it had, so it is told nothing until one of them changes.
    zestsim::unplug_pad(physical_pad);
    await_reads(physical_pad);
    zestsim::plug_pad(physical_pad, zestsim::Subtype::Wheel);
    ASSERT_TRUE(eventually([&] {
        large->build();
        return large->display_name() == "Rumble Large motor (Wheel 1)";
    }));
    small->build();
    settle();
    large.reset();
    EXPECT_TRUE(eventually([&] { return motors() == std::pair{off, full}; }));

    // A node that leaves an attribute another node fired on since leaves that override alone.
    large = rumble("Small motor");
    fire(*large);
    select_attribute(*small, physical_pad, "Large motor");
    settle();
    EXPECT_EQ(motors(), (std::pair{off, full}));
    small.reset();
    large.reset();
    EXPECT_TRUE(eventually([&] { return motors() == std::pair{off, off}; }));

    // Tested, then deleted as the last node: the core pauses, and resumes without it.
    auto tested = rumble("Small motor");
    click(*tested, "Test");
    ASSERT_TRUE(eventually([&] { return motors() == std::pair{off, full}; }));
    keep.reset();
    tested.reset();
    EXPECT_TRUE(eventually([&] { return motors() == std::pair{off, off}; }));
    keep = make_node("onbuttonpress");
    settle();
    EXPECT_EQ(motors(), (std::pair{off, off}));
}

}  // namespace
