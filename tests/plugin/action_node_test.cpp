#include <QThread>

#include <functional>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "kit/kit.h"
#include "plugin_fixture.h"
#include "support/eventually.h"
#include "zestsim/zestsim.h"

namespace {

using hostkit::ControlKind;
using ::testing::ElementsAre;
using Pad = zestsim::PadState;

constexpr std::uint32_t virtual_serial = 1;
constexpr int physical_pad = 0;
constexpr int virtual_pad = 1;  // the lowest free user index when it comes up
constexpr std::uint16_t button_a = 0x1000;
constexpr std::uint16_t button_b = 0x2000;

std::string id_of(const char* type) {
    return std::string("io.zestworks.gamepad.") + type;
}

std::vector<ControlKind> kinds(const hostkit::Panel& panel) {
    std::vector<ControlKind> result;
    for (const hostkit::Control& control : panel.controls())
        result.push_back(control.kind);
    return result;
}

Pad shown() {
    return zestsim::target_report(virtual_serial);
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
        auto probe = make_node(id_of("pressgamepadbutton"));
        ASSERT_TRUE(await_pad_list(*probe, 1));
    }

    // A node with a pad and an attribute chosen and a duration set, ready to fire.
    std::unique_ptr<HostNode> ready(const char* type, int pad, const std::string& attribute,
                                    double seconds) {
        auto node = make_node(id_of(type));
        node->store.set("!seconds", seconds);
        select_attribute(*node, pad, attribute);
        return node;
    }

    static void fire(HostNode& node) { node.receive(hostkit::create_event()); }
    static void click(HostNode& node, const std::string& button) {
        node.panel.script_click(button);
        node.build();
    }
};

// Button, trigger and stick need the virtual pad: until it is connected their panels show its
// state and nothing to choose. Rumble goes to any pad.
TEST_F(ActionNodeTest, OnlyRumbleChoosesAPadWithoutTheVirtualPad) {
    for (const char* type :
         {"pressgamepadbutton", "pressgamepadtrigger", "movegamepadstick",
          "randompressgamepadbutton", "randompressgamepadtrigger", "wigglegamepadstick"}) {
        auto node = make_node(id_of(type));
        node->build();
        EXPECT_THAT(kinds(node->panel), ElementsAre(ControlKind::StartGroup, ControlKind::Label,
                                                    ControlKind::EndGroup));
        EXPECT_EQ(node->panel.controls()[0].text, std::nullopt);
        EXPECT_EQ(node->panel.controls()[1].text, "Disabled");
    }
    auto rumble = make_node(id_of("rumblegamepad"));
    ASSERT_TRUE(await_pad_list(*rumble, 4));  // every pad has motors
    EXPECT_THAT(label_texts(rumble->panel), ElementsAre("Gamepad"));

    connect_virtual_pad();
    auto press = make_node(id_of("pressgamepadbutton"));
    press->build();
    const std::vector<hostkit::ListEntry> only_virtual{{"Gamepad 2 (virtual)", virtual_pad}};
    EXPECT_EQ(press->panel.find_key("!gamepad")->entries, only_virtual);
    EXPECT_EQ(press->panel.find_key("!attribute"), nullptr);  // no pad chosen yet
}

// Each constant type: its controls and defaults, the value reaching the device when an event
// fires it, and the device back at rest after the deadline.
TEST_F(ActionNodeTest, ConstantTypesHoldTheirValueUntilTheDeadline) {
    struct Case {
        const char* type;
        int pad;
        const char* attribute;
        std::vector<std::string> sliders;
        std::function<void(HostNode&)> set_values;
        std::function<bool()> holds;
    };
    const std::vector<Case> cases{
        {"pressgamepadbutton",
         virtual_pad,
         "B button",
         {},
         [](HostNode&) {},
         [] { return shown().buttons == button_b; }},
        {"pressgamepadtrigger",
         virtual_pad,
         "Right trigger",
         {"!strength"},
         [](HostNode& node) { node.store.set("!strength", 50); },
         [] { return shown().right_trigger == 127; }},
        {"movegamepadstick",
         virtual_pad,
         "Left stick",
         {"!x", "!y"},
         [](HostNode& node) {
             node.store.set("!x", 100);
             node.store.set("!y", -50);
         },
         [] { return shown().thumb_lx == 32767 && shown().thumb_ly == -16384; }},
        {"rumblegamepad",
         physical_pad,
         "Large motor",
         {"!strength"},
         [](HostNode& node) { node.store.set("!strength", 40); },
         [] { return zestsim::vibration(physical_pad).left == 26214; }},
    };
    connect_virtual_pad();
    for (const Case& test : cases) {
        SCOPED_TRACE(test.type);
        auto node = make_node(id_of(test.type));
        select_attribute(*node, test.pad, test.attribute);
        std::vector<std::string> sliders;
        for (const hostkit::Control& control : node->panel.controls()) {
            if (control.kind == ControlKind::Slider) sliders.push_back(*control.key);
        }
        EXPECT_EQ(sliders, test.sliders);
        const hostkit::Control* seconds = node->panel.find_key("!seconds");
        ASSERT_NE(seconds, nullptr);
        EXPECT_EQ(seconds->default_value, 0.5);
        EXPECT_EQ(seconds->minimum, 0.001);
        EXPECT_EQ(seconds->maximum, std::numeric_limits<double>::infinity());
        EXPECT_EQ(node->panel.controls().back().text, "Test");

        test.set_values(*node);
        node->store.set("!seconds", 0.2);
        node->build();
        fire(*node);
        EXPECT_EQ(node->node.parent_sink().posted().size(), 1u);
        EXPECT_TRUE(eventually(test.holds));
        EXPECT_TRUE(eventually([&] { return !test.holds(); }));
    }
    EXPECT_EQ(hostkit::live_event_count(), 0u);
}

// Noise types show their rate and strength, with a faster default for buttons, and keep the
// target moving while they run.
TEST_F(ActionNodeTest, NoiseTypesMoveTheTargetWhileTheyRun) {
    struct Case {
        const char* type;
        const char* attribute;
        double amplitude;
        std::function<int()> sample;
    };
    const std::vector<Case> cases{
        {"randompressgamepadbutton", "X button", 50, [] { return int{shown().buttons}; }},
        {"randompressgamepadtrigger", "Left trigger", 100,
         [] { return int{shown().left_trigger}; }},
        {"wigglegamepadstick", "Right stick", 100, [] { return int{shown().thumb_ry}; }},
    };
    connect_virtual_pad();
    for (const Case& test : cases) {
        SCOPED_TRACE(test.type);
        auto node = ready(test.type, virtual_pad, test.attribute, 10.0);
        EXPECT_EQ(node->panel.find_key("!frequency")->default_value, 100);
        EXPECT_EQ(node->panel.find_key("!frequency")->maximum, 200);
        EXPECT_EQ(node->panel.find_key("!amplitude")->default_value, test.amplitude);
        EXPECT_EQ(node->panel.find_key("!seconds")->default_value, 5.0);
        node->store.set("!frequency", 200);
        node->build();
        fire(*node);
        std::set<int> seen;
        EXPECT_TRUE(eventually([&] {
            seen.insert(test.sample());
            return seen.size() >= 3 || (seen.size() == 2 && test.amplitude == 50);
        }));
        node->panel.script_value("!attribute", -1);  // a change of selection ends it at once
        node->build();
    }
}

// Overrides belong to the attribute: a second firing replaces the first, whoever began it, and
// StopTest or a change of selection ends it at once.
TEST_F(ActionNodeTest, LaterFiringsReplaceEarlierOnesAndStopsEndThemAtOnce) {
    connect_virtual_pad();
    auto long_press = ready("pressgamepadbutton", virtual_pad, "B button", 60.0);
    auto short_press = ready("pressgamepadbutton", virtual_pad, "B button", 0.05);
    fire(*long_press);
    ASSERT_TRUE(eventually([] { return shown().buttons == button_b; }));
    fire(*short_press);
    ASSERT_TRUE(eventually([] { return shown().buttons == 0; }));

    click(*long_press, "Test");
    ASSERT_TRUE(eventually([] { return shown().buttons == button_b; }));
    EXPECT_GT(long_press->node.properties_invalidations().total, 0);
    long_press->build();
    click(*long_press, "Stop test");
    ASSERT_TRUE(eventually([] { return shown().buttons == 0; }));
    EXPECT_EQ(long_press->panel.controls().back().text, "Stop test");
    long_press->build();
    EXPECT_EQ(long_press->panel.controls().back().text, "Test");

    click(*long_press, "Test");
    ASSERT_TRUE(eventually([] { return shown().buttons == button_b; }));
    EXPECT_EQ(long_press->display_name(), "Press B button (Gamepad 2)");
    select_attribute(*long_press, virtual_pad, "A button");
    ASSERT_TRUE(eventually([] { return shown().buttons == 0; }));
    EXPECT_EQ(long_press->display_name(), "Press A button (Gamepad 2)");
    EXPECT_EQ(long_press->panel.controls().back().text, "Stop test");  // the test timer runs on
}

// With the virtual pad down a button node lets its selection go, and takes it back from the
// untouched store when the pad is connected again.
TEST_F(ActionNodeTest, TheSelectionFollowsTheVirtualPad) {
    connect_virtual_pad();
    auto node = ready("pressgamepadbutton", virtual_pad, "B button", 60.0);
    fire(*node);
    ASSERT_TRUE(eventually([] { return shown().buttons == button_b; }));
    const hostkit::Store::Value attribute = node->store.values().at("!attribute");

    ASSERT_TRUE(switch_virtual_pad(false));
    node->build();
    EXPECT_EQ(label_texts(node->panel), std::vector<std::string>{"Disabled"});
    EXPECT_EQ(node->display_name(), "Press Gamepad Button");
    fire(*node);  // nothing to fire on
    EXPECT_EQ(node->store.get<std::int32_t>("!gamepad"), virtual_pad);
    EXPECT_EQ(node->store.values().at("!attribute"), attribute);

    ASSERT_TRUE(switch_virtual_pad(true));
    node->build();
    EXPECT_EQ(node->display_name(), "Press B button (Gamepad 2)");
    fire(*node);
    EXPECT_TRUE(eventually([] { return shown().buttons == button_b; }));
}

// Durations from odd stores: beyond the 32-bit milliseconds the hold and the test timer last
// about 24.8 days; negative or not a number, no time at all. Selections no list has fire
// nothing, and the event goes on all the same.
TEST_F(ActionNodeTest, OddDurationsAndSelectionsStaySane) {
    connect_virtual_pad();
    auto node = ready("pressgamepadbutton", virtual_pad, "B button", 1e12);
    click(*node, "Test");
    ASSERT_TRUE(eventually([] { return shown().buttons == button_b; }));
    node->build();
    click(*node, "Stop test");
    ASSERT_TRUE(eventually([] { return shown().buttons == 0; }));

    for (double seconds : {-1.0, std::numeric_limits<double>::quiet_NaN()}) {
        node->store.set("!seconds", seconds);
        node->build();
        fire(*node);
        await_reads(virtual_pad);
        await_reads(virtual_pad);
        EXPECT_EQ(shown().buttons, 0);
    }

    for (const auto& [pad, attribute] : std::vector<std::pair<int, int>>{{9, 0}, {1, 12345}}) {
        node->store.set("!gamepad", pad);
        node->store.set("!attribute", attribute);
        node->store.set("!seconds", 60.0);
        node->build();
        EXPECT_EQ(node->display_name(), "Press Gamepad Button");
        fire(*node);
    }
    await_reads(virtual_pad);
    await_reads(virtual_pad);
    EXPECT_EQ(shown().buttons, 0);
    EXPECT_EQ(node->node.parent_sink().posted().size(), 4u);
    EXPECT_EQ(hostkit::live_event_count(), 0u);
}

}  // namespace
