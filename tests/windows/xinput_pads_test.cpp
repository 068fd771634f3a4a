// Pads plugged and pressed on the pad board reach Wine's own XInput, imported by ordinal as the
// plug-in imports it, through the SDL pads in Wine's device process; the motors set through
// XInput come back to the board. Runs in a Wine session that the bench started with the board.

#include <windows.h>
#include <xinput.h>

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "support/random_seed.h"
#include "windows/mapped_board.h"

namespace {

constexpr WORD guide = 0x0400;  // pressed on the board, hidden by XInputGetState as on Windows
constexpr DWORD success = ERROR_SUCCESS;
constexpr DWORD not_connected = ERROR_DEVICE_NOT_CONNECTED;

bool connected(DWORD user) {
    XINPUT_STATE state{};
    return XInputGetState(user, &state) == success;
}

// Full range and both ends of every control, often enough to meet them.
XINPUT_GAMEPAD random_gamepad(std::mt19937_64& random) {
    auto pick = [&](int low, int high) {
        const int edge = static_cast<int>(random() % 4);
        if (edge < 2) return edge == 0 ? low : high;
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    auto thumb = [&] { return static_cast<SHORT>(pick(-32768, 32767)); };
    auto trigger = [&] { return static_cast<BYTE>(pick(0, 255)); };
    // The pad reaches Wine as HID, where the d-pad is one hat switch: no two opposite directions.
    WORD buttons = static_cast<WORD>(random() & 0xF7FF);  // every wButtons bit a pad has
    if (buttons & XINPUT_GAMEPAD_DPAD_UP) buttons &= ~XINPUT_GAMEPAD_DPAD_DOWN;
    if (buttons & XINPUT_GAMEPAD_DPAD_LEFT) buttons &= ~XINPUT_GAMEPAD_DPAD_RIGHT;
    return XINPUT_GAMEPAD{buttons, trigger(), trigger(), thumb(), thumb(), thumb(), thumb()};
}

void write_pad(zest_board* board, unsigned n, const XINPUT_GAMEPAD& g) {
    for (WORD bit = 1; bit != 0; bit = static_cast<WORD>(bit << 1))
        zest_board_set_button(board, n, bit, (g.wButtons & bit) != 0);
    zest_board_set_trigger(board, n, 0, g.bLeftTrigger);
    zest_board_set_trigger(board, n, 1, g.bRightTrigger);
    zest_board_set_stick(board, n, 0, g.sThumbLX, g.sThumbLY);
    zest_board_set_stick(board, n, 1, g.sThumbRX, g.sThumbRY);
}

class WineXInput : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(board, nullptr) << "no pad board: run under the bench with ZEST_PAD_BOARD";
        unplug_all();
        ASSERT_TRUE(eventually_on_board([] { return !connected(0) && !connected(1); }));
    }
    void TearDown() override { unplug_all(); }
    void unplug_all() const {
        for (unsigned n = 0; board != nullptr && n < ZEST_BOARD_FIRST_TARGET; ++n)
            zest_board_set_plugged(board, n, 0);
    }

    const MappedBoard mapped;
    zest_board* const board = mapped.get();
};

// One pad's whole life: plugged, every control read back as written with the packet number
// moving on, rumble back on the board, then unplugged.
TEST_F(WineXInput, APadReadsBackAsWrittenRumblesAndUnplugs) {
    const std::uint64_t seed = testsupport::random_seed();
    SCOPED_TRACE("ZEST_RANDOM_SEED=" + std::to_string(seed));
    std::mt19937_64 random(seed);
    ASSERT_TRUE(zest_board_set_plugged(board, 0, 1));
    XINPUT_STATE state{};
    ASSERT_TRUE(eventually_on_board([&] { return XInputGetState(0, &state) == success; }));

    XINPUT_CAPABILITIES capabilities{};
    ASSERT_EQ(XInputGetCapabilities(0, XINPUT_FLAG_GAMEPAD, &capabilities), success);
    EXPECT_EQ(capabilities.Type, XINPUT_DEVTYPE_GAMEPAD);
    EXPECT_EQ(capabilities.SubType, XINPUT_DEVSUBTYPE_GAMEPAD);

    // Each step presses and rumbles at random, and reads both back.
    for (int step = 0; step < 24; ++step) {
        SCOPED_TRACE(step);
        const DWORD packet = state.dwPacketNumber;
        const XINPUT_GAMEPAD written = random_gamepad(random);
        XINPUT_GAMEPAD wanted = written;
        wanted.wButtons &= ~guide;
        // The gamepad's twelve bytes have no padding.
        auto reads_wanted = [&] {
            return std::memcmp(&state.Gamepad, &wanted, sizeof wanted) == 0;
        };
        if (!reads_wanted()) {
            write_pad(board, 0, written);
            ASSERT_TRUE(eventually_on_board([&] {
                return XInputGetState(0, &state) == success && reads_wanted();
            })) << ::testing::PrintToString(written)
                << " read " << ::testing::PrintToString(state);
            EXPECT_GT(state.dwPacketNumber, packet);
        }

        XINPUT_VIBRATION vibration{static_cast<WORD>(random()), static_cast<WORD>(random())};
        std::uint16_t large = 0;
        std::uint16_t small = 0;
        const std::uint32_t before = zest_board_motors(board, 0, &large, &small);
        ASSERT_EQ(XInputSetState(0, &vibration), success);
        ASSERT_TRUE(eventually_on_board([&] {
            return zest_board_motors(board, 0, &large, &small) != before &&
                   large == vibration.wLeftMotorSpeed && small == vibration.wRightMotorSpeed;
        })) << "set "
            << vibration.wLeftMotorSpeed << " " << vibration.wRightMotorSpeed << ", board " << large
            << " " << small;
    }

    ASSERT_TRUE(zest_board_set_plugged(board, 0, 0));
    EXPECT_TRUE(eventually_on_board([] { return !connected(0); }));
    XINPUT_VIBRATION stop{};
    EXPECT_EQ(XInputGetState(0, &state), not_connected);
    EXPECT_EQ(XInputSetState(0, &stop), not_connected);
    EXPECT_EQ(XInputGetCapabilities(0, XINPUT_FLAG_GAMEPAD, &capabilities), not_connected);
}

}  // namespace
