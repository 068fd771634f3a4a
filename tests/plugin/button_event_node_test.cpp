#include <string>
#include <vector>

#include "kit/kit.h"
#include "plugin_fixture.h"
#include "support/eventually.h"
#include "zestsim/zestsim.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* press_type = "io.zestworks.gamepad.onbuttonpress";
constexpr const char* release_type = "io.zestworks.gamepad.onbuttonrelease";
constexpr std::uint16_t button_a = 0x1000;
constexpr std::uint16_t button_b = 0x2000;

std::vector<std::string> labels(const hostkit::Control* list) {
    std::vector<std::string> result;
    if (list != nullptr) {
        for (const hostkit::ListEntry& entry : list->entries)
            result.push_back(entry.label);
    }
    return result;
}

class ButtonEventNodeTest : public PluginTest {
protected:
    static std::size_t events(const HostNode& node) {
        return node.node.child_sink().posted().size();
    }
};

TEST_F(ButtonEventNodeTest, PressAndReleaseNodesFireOnTheirOwnTransitionsOnly) {
    zestsim::plug_pad(1, zestsim::Subtype::Gamepad);
    auto press = make_node(press_type);
    auto release = make_node(release_type);

    press->build();  // before any metadata: an empty pad list and nothing below it
    EXPECT_THAT(press->panel.find_key("!gamepad")->entries, IsEmpty());
    EXPECT_EQ(press->panel.find_key("!attribute"), nullptr);
    EXPECT_EQ(press->display_name(), "On Gamepad Button Press");

    ASSERT_TRUE(await_pad_list(*press, 4));
    select_attribute(*press, 1, "A button");
    select_attribute(*release, 1, "A button");
    press->build();  // more passes with the same pad add no second connection
    EXPECT_THAT(labels(press->panel.find_key("!gamepad")),
                ElementsAre("Gamepad 1 (disconnected)", "Gamepad 2", "Gamepad 3 (disconnected)",
                            "Gamepad 4 (disconnected)"));
    EXPECT_EQ(press->panel.find_text("Button")->kind, hostkit::ControlKind::Label);
    EXPECT_EQ(press->display_name(), "On A button Press (Gamepad 2)");
    EXPECT_EQ(release->display_name(), "On A button Release (Gamepad 2)");
    EXPECT_GT(press->node.name_invalidations().total, 0);

    // Both nodes hear each change in the same delivery, so one firing shows the other's silence.
    zestsim::press(1, button_a, true);
    ASSERT_TRUE(eventually([&] { return events(*press) == 1; }));
    EXPECT_EQ(events(*release), 0u);
    zestsim::press(1, button_a, false);
    ASSERT_TRUE(eventually([&] { return events(*release) == 1; }));
    EXPECT_EQ(events(*press), 1u);

    zestsim::press(1, button_b, true);  // other buttons of the pad are none of theirs
    await_reads(1);
    zestsim::press(1, button_b, false);
    await_reads(1);
    zestsim::press(1, button_a, true);
    ASSERT_TRUE(eventually([&] { return events(*press) == 2; }));
    EXPECT_EQ(events(*release), 1u);

    // A host busy over several ticks still hears each transition once, as what it was.
    for (const bool pressed : {false, true, false}) {
        zestsim::press(1, button_a, pressed);
        await_reads(1, true);
    }
    ASSERT_TRUE(eventually([&] { return events(*release) == 3; }));
    EXPECT_EQ(events(*press), 3u);
    EXPECT_THAT(press->node.parent_sink().posted(), IsEmpty());
    EXPECT_EQ(hostkit::live_event_count(), 0u);
}

TEST_F(ButtonEventNodeTest, FollowsOnlyThePadSelectedLast) {
    zestsim::plug_pad(0, zestsim::Subtype::Gamepad);
    zestsim::plug_pad(1, zestsim::Subtype::Gamepad);
    auto moved = make_node(press_type);
    auto probe = make_node(press_type);
    ASSERT_TRUE(await_pad_list(*moved, 4));
    select_attribute(*moved, 1, "A button");
    select_attribute(*probe, 1, "A button");
    select_attribute(*moved, 0, "A button");
    EXPECT_EQ(moved->display_name(), "On A button Press (Gamepad 1)");

    zestsim::press(1, button_a, true);
    ASSERT_TRUE(eventually([&] { return events(*probe) == 1; }));
    EXPECT_EQ(events(*moved), 0u);
    zestsim::press(0, button_a, true);
    ASSERT_TRUE(eventually([&] { return events(*moved) == 1; }));

    moved.reset();  // its connection goes with it
    zestsim::press(1, button_a, false);
    await_reads(1);
    zestsim::press(1, button_a, true);
    ASSERT_TRUE(eventually([&] { return events(*probe) == 2; }));
}

// Received and forwarded events go on to the parent sink once and are freed, selection or not.
TEST_F(ButtonEventNodeTest, PassesEventsOnOnce) {
    for (const char* id : {press_type, release_type}) {
        auto node = make_node(id);
        ZestEvent received = hostkit::create_event();
        const std::uint64_t received_id = *hostkit::event_id(received);
        node->receive(received);
        ZestEvent forwarded = hostkit::create_event();
        const std::uint64_t forwarded_id = *hostkit::event_id(forwarded);
        node->forward(forwarded);
        EXPECT_THAT(node->node.parent_sink().posted(), ElementsAre(received_id, forwarded_id));
        EXPECT_THAT(node->node.child_sink().posted(), IsEmpty());
        EXPECT_EQ(hostkit::live_event_count(), 0u);
    }
}

// Names fit the host's buffer, and what the host's store holds never breaks a node: a pad that
// doesn't exist, a value of the wrong type, an attribute id no entry has.
TEST_F(ButtonEventNodeTest, NamesFitAndOddStoreContentsLeaveTheNodeUnselected) {
    zestsim::plug_pad(1, zestsim::Subtype::Gamepad);
    auto node = make_node(release_type);
    hostkit::set_translation("OnGamepadButtonReleaseNode.Name", std::string(300, 'r'));
    EXPECT_EQ(node->display_name(), std::string(255, 'r'));
    hostkit::set_translation("OnGamepadButtonReleaseNode.Name", std::nullopt);
    EXPECT_EQ(node->display_name(), "");
    hostkit::set_translation("OnGamepadButtonReleaseNode.Name", "Released");

    ASSERT_TRUE(await_pad_list(*node, 4));
    for (const hostkit::Store::Value& pad : std::vector<hostkit::Store::Value>{7, -3, "one"}) {
        node->store.set("!gamepad", pad);
        node->build();
        EXPECT_EQ(node->panel.find_key("!attribute"), nullptr);
        EXPECT_EQ(node->display_name(), "Released");
    }
    node->store.set("!gamepad", 1);
    node->store.set("!attribute", 999);
    node->build();
    EXPECT_EQ(node->panel.find_key("!attribute")->entries.size(), 16u);  // the pad's buttons
    EXPECT_EQ(node->display_name(), "Released");
    zestsim::press(1, button_a, true);
    await_reads(1);
    zestsim::press(1, button_a, false);
    await_reads(1);
    QCoreApplication::processEvents();
    EXPECT_EQ(events(*node), 0u);
}

}  // namespace
