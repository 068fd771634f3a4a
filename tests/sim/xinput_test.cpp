#include <gtest/gtest.h>

#include <string>

#include "platform/win32.h"
#include "zestsim/zestsim.h"

namespace {

constexpr DWORD bad_arguments = 160;

// Arguments are checked before the pad is looked for: a bad one gives ERROR_BAD_ARGUMENTS
// whether a pad is plugged or not, as Windows' own XInput does.
TEST(SimulatedXInput, BadArgumentsComeBeforeTheConnection) {
    zestsim::reset();
    zestsim::plug_pad(1, zestsim::Subtype::Gamepad);
    XINPUT_STATE state{};
    XINPUT_CAPABILITIES capabilities{};
    for (const DWORD user : {0u, 1u, 4u}) {
        SCOPED_TRACE("user " + std::to_string(user));
        const DWORD unplugged = user == 1   ? ERROR_SUCCESS
                                : user == 0 ? static_cast<DWORD>(ERROR_DEVICE_NOT_CONNECTED)
                                            : bad_arguments;
        EXPECT_EQ(XInputGetState(user, &state), unplugged);
        EXPECT_EQ(XInputGetState(user, nullptr), bad_arguments);
        for (const DWORD flags : {0u, 1u}) {
            EXPECT_EQ(XInputGetCapabilities(user, flags, &capabilities), unplugged);
            EXPECT_EQ(XInputGetCapabilities(user, flags, nullptr), bad_arguments);
        }
        EXPECT_EQ(XInputGetCapabilities(user, 2, &capabilities), bad_arguments);
    }
    zestsim::reset();
}

}  // namespace
