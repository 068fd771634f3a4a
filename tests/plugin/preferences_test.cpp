#include <QThread>

#include <algorithm>
#include <string>

#include "platform/win32.h"
#include "plugin_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr std::uint32_t virtual_serial = 1;  // the first target the bus driver plugs

// Reads of one pad during a short while, to tell a slow polling rate from a fast one.
std::uint64_t reads_during_a_while(std::size_t pad) {
    const std::uint64_t before = zestsim::calls("XInputGetState", pad);
    QThread::msleep(400);
    return zestsim::calls("XInputGetState", pad) - before;
}

using PreferencesTest = PluginTest;

// Switched off the panel touches nothing; without a bus driver the group shows the error.
TEST_F(PreferencesTest, SwitchedOffThePanelTouchesNothingAndWithoutADriverItShowsTheError) {
    const int threads = thread_count();
    build_preferences();
    build_preferences();
    EXPECT_THAT(panel_lines(preferences_panel),
                ElementsAre("  Update rate: 240 (1 to 1000)",
                            "  How many times per second the gamepads are read and written. "
                            "Higher rates react faster and use more CPU.",
                            "  Virtual gamepad", "    [ ] Enabled"));
    EXPECT_EQ(thread_count(), threads);
    EXPECT_EQ(zestsim::calls("XInputGetState"), 0u);

    zestsim::set_bus_driver(false);
    preferences_panel.script_value("virtualenabled", true);
    build_preferences();
    ASSERT_TRUE(rebuild_preferences_until(
        [&] { return panel_lines(preferences_panel).back() != "    Connecting..."; }));
    EXPECT_EQ(panel_lines(preferences_panel).back(),
              "    The ViGEm bus driver is not installed or cannot be reached.");
    EXPECT_EQ(preferences_panel.find_key("feedgamepad"), nullptr);
}

// On: the core starts, the pad comes up and is named; rebuilding sends nothing more. Off again:
// the pad goes, also when the panel was the core's only user and the core pauses, polling nothing.
TEST_F(PreferencesTest, TheCheckboxAttachesAndDetachesTheVirtualPad) {
    zestsim::plug_pad(0, zestsim::Subtype::Gamepad);
    preferences_panel.script_value("virtualenabled", true);
    build_preferences();
    EXPECT_EQ(panel_lines(preferences_panel).back(), "    Connecting...");
    ASSERT_TRUE(switch_virtual_pad(true));
    EXPECT_EQ(panel_lines(preferences_panel)[4], "    Connected as Gamepad 2");
    const std::uint64_t requests = zestsim::ioctl_calls(0x2AA004);  // plug
    for (int pass = 0; pass < 3; ++pass)
        build_preferences();
    EXPECT_EQ(zestsim::ioctl_calls(0x2AA004), requests);
    EXPECT_EQ(zestsim::plugged_targets(), 1u);

    ASSERT_TRUE(switch_virtual_pad(false));
    EXPECT_THAT(panel_lines(preferences_panel), SizeIs(4));  // the group holds the checkbox only
    EXPECT_TRUE(eventually([] { return zestsim::plugged_targets() == 0; }));
    EXPECT_TRUE(eventually([] { return reads_during_a_while(0) == 0; }));
}

// The feed mirrors a physical pad into the virtual one, and rumble goes back to it. The rate
// comes from the store at confirmation only; a rate below 1 keeps the pads polled.
TEST_F(PreferencesTest, TheFeedListMirrorsAPadUntilNoneIsChosenAndTheRateChangesAtConfirmation) {
    zestsim::plug_pad(0, zestsim::Subtype::Gamepad);
    preferences.set("updatems", 4);
    plugin().confirm_preferences(preferences.handle());
    ASSERT_TRUE(switch_virtual_pad(true));
    // The disconnected pads are offered once their first reads have told their metadata.
    const hostkit::Control* feed = nullptr;
    ASSERT_TRUE(rebuild_preferences_until([&] {
        feed = preferences_panel.find_key("feedgamepad");
        return feed != nullptr && feed->entries.size() == 4;
    }));
    // The virtual pad, at 1, can't feed itself.
    EXPECT_EQ(std::ranges::find(feed->entries, 1, &hostkit::ListEntry::value), feed->entries.end());

    zestsim::PadState held{0xF3FF, 12, 250, -32768, 32767, 1234, -4321};
    zestsim::set_pad_state(0, held);
    preferences_panel.script_value("feedgamepad", 0);
    build_preferences();
    held.buttons &= ~0x0400;  // the guide button stays the pad's own
    ASSERT_TRUE(
        eventually([&] { return fields(zestsim::target_report(virtual_serial)) == fields(held); }));

    XINPUT_VIBRATION game{0x8000, 0x4000};  // another program rumbles the virtual pad
    XInputSetState(1, &game);
    EXPECT_TRUE(eventually([] { return zestsim::vibration(0).left == 0x8080; }));

    preferences_panel.script_value("feedgamepad", -1);
    build_preferences();
    ASSERT_TRUE(eventually([] { return zestsim::target_report(virtual_serial).buttons == 0; }));

    preferences.set("updatems", std::string("fast"));  // no int stored: nothing changes
    plugin().confirm_preferences(preferences.handle());
    preferences_panel.script_value("updatems", 1000);
    build_preferences();
    EXPECT_LE(reads_during_a_while(0), 4u);
    plugin().migrate_load_preferences(preferences.handle());
    EXPECT_GE(reads_during_a_while(0), 20u);
    for (std::int32_t odd : {0, -7}) {
        preferences.set("updatems", odd);
        plugin().confirm_preferences(preferences.handle());
        await_reads(0);
    }
}

}  // namespace
