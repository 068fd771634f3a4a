#include "gamepad/game_impl.h"
#include "gamepad/gamepad.h"
#include "gamepad/gamepad_impl.h"
#include "gamepad/gamepads.h"
#include "platform/win32.h"
#include "plugin/host_wrappers.h"
#include "support/eventually.h"
#include "support/kit_fixture.h"
#include "zestsim/zestsim.h"

namespace gamepad {
namespace {

class VirtualPadCoreTest : public KitTest {
protected:
    void SetUp() override {
        KitTest::SetUp();
        plugin_host_handle = hostkit::host_handle();
        zestsim::reset();
    }
};

// The whole core on the platform's backend over the simulated machine: the virtual pad comes
// up, mirrors a physical pad, sends the rumble of another program back to it, and goes.
TEST_F(VirtualPadCoreTest, AttachesFeedsAndDetachesTheVirtualPad) {
    zestsim::plug_pad(0, zestsim::Subtype::Gamepad);
    zestsim::press(0, 0x1000, true);
    zestsim::set_triggers(0, 200, 0);
    {
        Game game;
        game.impl().set_update_rate(1000);
        std::unique_ptr<Gamepads> pads = game.impl().use();
        game.impl().set_virtual_gamepad_enabled(true);
        ASSERT_TRUE(eventually(
            [&] { return pads->virtual_gamepad_state() != VirtualGamepadState::Connecting; }));
        ASSERT_EQ(pads->virtual_gamepad_state(), VirtualGamepadState::Connected);
        const int virtual_pad = pads->virtual_gamepad_index();
        EXPECT_EQ(virtual_pad, 1);

        pads->gamepad(virtual_pad)->impl()->set_feed_source(0);
        ASSERT_TRUE(eventually([] { return zestsim::target_report(1).buttons == 0x1000; }));
        EXPECT_EQ(zestsim::target_report(1).left_trigger, 200);
        ASSERT_TRUE(eventually([&] {
            const GamepadState* state = pads->gamepad(virtual_pad)->state();
            return state != nullptr && state->values[13].as_button();
        }));

        XINPUT_VIBRATION other_program{0xFF00, 0};
        XInputSetState(static_cast<DWORD>(virtual_pad), &other_program);
        EXPECT_TRUE(eventually([] { return zestsim::vibration(0).left == 0xFFFF; }));

        game.impl().set_virtual_gamepad_enabled(false);
        EXPECT_TRUE(eventually([] { return zestsim::plugged_targets() == 0; }));
        pads.reset();
    }
    EXPECT_EQ(zestsim::pending_requests(), 0u);
}

}  // namespace
}  // namespace gamepad
