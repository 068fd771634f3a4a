// Pads plugged and pressed on the pad board reach Wine's own XInput, imported by ordinal as the
// plug-in imports it, through the SDL pads in Wine's device process; the motors set through
// XInput come back to the board. Runs in a Wine session that the bench started with the board.

#include <windows.h>
#include <xinput.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "support/random_seed.h"
#include "windows/bench/pad_board_ops.h"

namespace {

constexpr WORD guide = 0x0400;  // pressed on the board, hidden by XInputGetState as on Windows
constexpr WORD pad_buttons = 0xF7FF;  // every wButtons bit a pad has
constexpr DWORD success = ERROR_SUCCESS;
constexpr DWORD not_connected = ERROR_DEVICE_NOT_CONNECTED;

// The board named by ZEST_PAD_BOARD (a Linux path), mapped through Wine's drive Z:.
class MappedBoard {
public:
    MappedBoard() {
        const char* path = std::getenv("ZEST_PAD_BOARD");
        if (path == nullptr) return;
        std::string windows_path = std::string("Z:") + path;
        for (char& c : windows_path)
            c = c == '/' ? '\\' : c;
        file_ = CreateFileA(windows_path.c_str(), GENERIC_READ | GENERIC_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
        if (file_ == INVALID_HANDLE_VALUE) return;
        mapping_ =
            CreateFileMappingA(file_, nullptr, PAGE_READWRITE, 0, sizeof(zest_board), nullptr);
        if (mapping_ == nullptr) return;
        board_ = static_cast<zest_board*>(
            MapViewOfFile(mapping_, FILE_MAP_WRITE, 0, 0, sizeof(zest_board)));
    }
    ~MappedBoard() {
        if (board_ != nullptr) UnmapViewOfFile(board_);
        if (mapping_ != nullptr) CloseHandle(mapping_);
        if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
    }
    MappedBoard(const MappedBoard&) = delete;
    MappedBoard& operator=(const MappedBoard&) = delete;

    zest_board* get() const {
        return board_ != nullptr && zest_board_valid(board_) ? board_ : nullptr;
    }

private:
    HANDLE file_ = INVALID_HANDLE_VALUE;
    HANDLE mapping_ = nullptr;
    zest_board* board_ = nullptr;
};

// Polls `done` for a bounded while: the board reaches XInput through two threads and a HID read.
template <typename Done>
bool eventually(Done done) {
    const ULONGLONG deadline = GetTickCount64() + 15000;
    while (!done() && GetTickCount64() < deadline)
        Sleep(2);
    return done();
}

bool connected(DWORD user) {
    XINPUT_STATE state{};
    return XInputGetState(user, &state) == success;
}

bool same(const XINPUT_GAMEPAD& a, const XINPUT_GAMEPAD& b) {
    return a.wButtons == b.wButtons && a.bLeftTrigger == b.bLeftTrigger &&
           a.bRightTrigger == b.bRightTrigger && a.sThumbLX == b.sThumbLX &&
           a.sThumbLY == b.sThumbLY && a.sThumbRX == b.sThumbRX && a.sThumbRY == b.sThumbRY;
}

std::string describe(const XINPUT_GAMEPAD& g) {
    char text[128];
    std::snprintf(text, sizeof text, "buttons 0x%04x triggers %u %u left %d %d right %d %d",
                  g.wButtons, g.bLeftTrigger, g.bRightTrigger, g.sThumbLX, g.sThumbLY, g.sThumbRX,
                  g.sThumbRY);
    return text;
}

// Full range and both ends of every control, often enough to meet them.
XINPUT_GAMEPAD random_gamepad(std::mt19937_64& random) {
    auto pick = [&](int low, int high) {
        const int edge = static_cast<int>(random() % 4);
        if (edge == 0) return low;
        if (edge == 1) return high;
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    auto thumb = [&] { return static_cast<SHORT>(pick(-32768, 32767)); };
    auto trigger = [&] { return static_cast<BYTE>(pick(0, 255)); };
    // The pad reaches Wine as HID, where the d-pad is one hat switch: no two opposite directions.
    WORD buttons = static_cast<WORD>(random() & pad_buttons);
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
        for (unsigned n = 0; n < ZEST_BOARD_FIRST_TARGET; ++n)
            zest_board_set_plugged(board, n, 0);
        ASSERT_TRUE(eventually([] { return !connected(0) && !connected(1); }));
    }
    void TearDown() override {
        if (board == nullptr) return;
        for (unsigned n = 0; n < ZEST_BOARD_FIRST_TARGET; ++n)
            zest_board_set_plugged(board, n, 0);
    }

    MappedBoard mapped;
    zest_board* board = mapped.get();
};

// One pad's whole life: plugged, every control read back as written with the packet number
// moving on, rumble back on the board, then unplugged.
TEST_F(WineXInput, APadReadsBackAsWrittenRumblesAndUnplugs) {
    const std::uint64_t seed = testsupport::random_seed();
    SCOPED_TRACE("ZEST_RANDOM_SEED=" + std::to_string(seed));
    std::mt19937_64 random(seed);
    ASSERT_TRUE(zest_board_set_plugged(board, 0, 1));
    XINPUT_STATE state{};
    ASSERT_TRUE(eventually([&] { return XInputGetState(0, &state) == success; }));

    XINPUT_CAPABILITIES capabilities{};
    ASSERT_EQ(XInputGetCapabilities(0, XINPUT_FLAG_GAMEPAD, &capabilities), success);
    EXPECT_EQ(capabilities.Type, XINPUT_DEVTYPE_GAMEPAD);
    EXPECT_EQ(capabilities.SubType, XINPUT_DEVSUBTYPE_GAMEPAD);

    for (int step = 0; step < 24; ++step) {
        const DWORD packet = state.dwPacketNumber;
        const XINPUT_GAMEPAD written = random_gamepad(random);
        XINPUT_GAMEPAD wanted = written;
        wanted.wButtons &= ~guide;
        if (same(wanted, state.Gamepad)) continue;
        write_pad(board, 0, written);
        ASSERT_TRUE(eventually([&] {
            return XInputGetState(0, &state) == success && same(state.Gamepad, wanted);
        })) << "step "
            << step << " wrote " << describe(written) << ", read " << describe(state.Gamepad);
        EXPECT_GT(state.dwPacketNumber, packet) << "step " << step;
    }

    for (int step = 0; step < 4; ++step) {
        XINPUT_VIBRATION vibration{static_cast<WORD>(random()), static_cast<WORD>(random())};
        uint16_t large = 0;
        uint16_t small = 0;
        const uint32_t before = zest_board_motors(board, 0, &large, &small);
        ASSERT_EQ(XInputSetState(0, &vibration), success);
        EXPECT_TRUE(eventually([&] {
            return zest_board_motors(board, 0, &large, &small) != before &&
                   large == vibration.wLeftMotorSpeed && small == vibration.wRightMotorSpeed;
        })) << "set "
            << vibration.wLeftMotorSpeed << " " << vibration.wRightMotorSpeed << ", board " << large
            << " " << small;
    }

    ASSERT_TRUE(zest_board_set_plugged(board, 0, 0));
    EXPECT_TRUE(eventually([] { return !connected(0); }));
    XINPUT_VIBRATION stop{};
    EXPECT_EQ(XInputGetState(0, &state), not_connected);
    EXPECT_EQ(XInputSetState(0, &stop), not_connected);
    EXPECT_EQ(XInputGetCapabilities(0, XINPUT_FLAG_GAMEPAD, &capabilities), not_connected);
}

bool shows(DWORD user, WORD buttons) {
    XINPUT_STATE state{};
    return XInputGetState(user, &state) == success && state.Gamepad.wButtons == buttons;
}

// Two pads take users 0 and 1 and each reads its own presses. Plugged at once they may take
// them in either order (Wine finds them in the order of their device paths); plugged one after
// the other, the first plugged is user 0 whatever its slot on the board.
TEST_F(WineXInput, TwoPadsTakeUsersZeroAndOne) {
    zest_board_set_plugged(board, 0, 1);
    zest_board_set_plugged(board, 1, 1);
    ASSERT_TRUE(eventually([] { return connected(0) && connected(1); }));
    zest_board_set_button(board, 0, XINPUT_GAMEPAD_A, 1);
    zest_board_set_button(board, 1, XINPUT_GAMEPAD_B, 1);
    EXPECT_TRUE(eventually([] {
        return (shows(0, XINPUT_GAMEPAD_A) && shows(1, XINPUT_GAMEPAD_B)) ||
               (shows(0, XINPUT_GAMEPAD_B) && shows(1, XINPUT_GAMEPAD_A));
    }));
    EXPECT_FALSE(connected(2));
    zest_board_set_plugged(board, 0, 0);
    zest_board_set_plugged(board, 1, 0);
    ASSERT_TRUE(eventually([] { return !connected(0) && !connected(1); }));

    zest_board_set_plugged(board, 1, 1);
    ASSERT_TRUE(eventually([] { return connected(0); }));
    zest_board_set_plugged(board, 0, 1);
    ASSERT_TRUE(eventually([] { return connected(1); }));
    zest_board_set_button(board, 0, XINPUT_GAMEPAD_A, 1);
    EXPECT_TRUE(eventually([] { return shows(1, XINPUT_GAMEPAD_A) && shows(0, 0); }));
}

}  // namespace
