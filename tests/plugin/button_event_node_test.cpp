#include <string>
#include <vector>

#include "plugin_fixture.h"

namespace {

using ::testing::ElementsAre;

using ButtonEventNodeTest = PluginTest;

// Which transitions a node tells, and when, the random walk checks; here what the nodes show and
// what odd stores and passed-on events do to them.
TEST_F(ButtonEventNodeTest, ShowTheirSelectionAndPassEventsOnWhateverTheStoreHolds) {
    zestsim::plug_pad(1, zestsim::Subtype::Gamepad);
    auto release = make_node("onbuttonrelease");
    release->build();  // before any metadata: an empty pad list and nothing below it
    EXPECT_THAT(panel_lines(release->panel), ElementsAre("  Gamepad", "    (nothing to choose)"));
    ASSERT_TRUE(await_pad_list(*release, 4));
    select_attribute(*release, 1, "A button");
    EXPECT_EQ(release->display_name(), "On A button Release (Gamepad 2)");

    // Names fit the host's buffer, and what the store holds never breaks a node: a pad that
    // doesn't exist, a value of the wrong type, an attribute id no entry has.
    hostkit::set_translation("OnGamepadButtonReleaseNode.Name", std::string(300, 'r'));
    for (const hostkit::Store::Value& pad : std::vector<hostkit::Store::Value>{7, -3, "one"}) {
        release->store.set("!gamepad", pad);
        release->build();
        EXPECT_EQ(release->panel.find_key("!attribute"), nullptr);
        EXPECT_EQ(release->display_name(), std::string(255, 'r'));
    }
    release->store.set("!gamepad", 1);
    release->store.set("!attribute", 999);
    release->build();
    EXPECT_EQ(release->panel.find_key("!attribute")->entries.size(), 16u);  // the pad's buttons
    EXPECT_EQ(release->display_name(), std::string(255, 'r'));

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
