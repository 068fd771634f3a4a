#include <string>
#include <vector>

#include "plugin_fixture.h"

namespace {

using ::testing::ElementsAre;

constexpr std::uint16_t button_a = 0x1000;

using ButtonEventNodeTest = PluginTest;

// Which transitions a node tells, and when, the random walk checks; here what the nodes show and
// what odd stores and passed-on events do to them.
TEST_F(ButtonEventNodeTest, ShowTheirSelectionAndPassEventsOnWhateverTheStoreHolds) {
    zestsim::plug_pad(0, zestsim::Subtype::Gamepad);
    zestsim::plug_pad(1, zestsim::Subtype::Gamepad);
    auto press = make_node("onbuttonpress");
    auto release = make_node("onbuttonrelease");

    press->build();  // before any metadata: an empty pad list and nothing below it
    EXPECT_THAT(panel_lines(press->panel), ElementsAre("  Gamepad", "    (nothing to choose)"));
    EXPECT_EQ(press->display_name(), "On Gamepad Button Press");

    ASSERT_TRUE(await_pad_list(*press, 4));
    select_attribute(*press, 0, "A button");
    select_attribute(*release, 1, "A button");
    select_attribute(*press, 1, "A button");
    press->build();
    std::vector<std::string> lines = panel_lines(press->panel);
    lines.resize(6);
    EXPECT_THAT(lines, ElementsAre("  Gamepad", "    ( ) Gamepad 1", "    (*) Gamepad 2",
                                   "    ( ) Gamepad 3 (disconnected)",
                                   "    ( ) Gamepad 4 (disconnected)", "  Button"));
    EXPECT_EQ(press->display_name(), "On A button Press (Gamepad 2)");
    EXPECT_EQ(release->display_name(), "On A button Release (Gamepad 2)");
    EXPECT_GT(press->node.name_invalidations().total, 0);
    zestsim::press(1, button_a, true);
    ASSERT_TRUE(eventually([&] { return press->originated() >= 1; }));
    await_reads(1);
    QCoreApplication::processEvents();
    EXPECT_EQ(press->originated(), 1u);  // told once, whichever seed the walk has

    // Names fit the host's buffer, and what the store holds never breaks a node: a pad that
    // doesn't exist, a value of the wrong type, an attribute id no entry has.
    hostkit::set_translation("OnGamepadButtonReleaseNode.Name", std::string(300, 'r'));
    for (const hostkit::Store::Value& pad : std::vector<hostkit::Store::Value>{7, -3, "one"}) {
        release->store.set("!gamepad", pad);
        release->build();
        EXPECT_EQ(release->panel.find_key("!attribute"), nullptr);
        EXPECT_EQ(release->display_name(), std::string(255, 'r'));
    }
    hostkit::set_translation("OnGamepadButtonReleaseNode.Name", std::nullopt);
    release->store.set("!gamepad", 1);
    release->store.set("!attribute", 999);
    release->build();
    EXPECT_EQ(release->panel.find_key("!attribute")->entries.size(), 16u);  // the pad's buttons
    EXPECT_EQ(release->display_name(), "");
    zestsim::press(1, button_a, false);  // an id no entry has listens to nothing
    await_reads(1);
    QCoreApplication::processEvents();

    // Received and forwarded events go on to the parent sink once and are freed.
    ZestEvent received = hostkit::create_event();
    ZestEvent forwarded = hostkit::create_event();
    const std::vector<std::uint64_t> ids{*hostkit::event_id(received),
                                         *hostkit::event_id(forwarded)};
    release->receive(received);
    release->forward(forwarded);
    EXPECT_EQ(release->node.parent_sink().posted(), ids);
    EXPECT_EQ(release->originated(), 0u);
    EXPECT_EQ(hostkit::live_event_count(), 0u);
}

}  // namespace
