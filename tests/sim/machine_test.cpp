#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "platform/win32.h"
#include "zestsim/zestsim.h"

namespace {

// A wait that another thread ends, and a thread handle set as its thread ends, are shown through
// the bus client's threads, which their stop events wake. Bad handles give the Win32 error.
TEST(SimulatedSync, EventsWakeTheLowestIndexAutoResetOnlyWhatAWaitTookAndBadHandlesFail) {
    HANDLE manual = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    HANDLE automatic = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE both[] = {manual, automatic};
    EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), static_cast<DWORD>(WAIT_TIMEOUT));

    ASSERT_TRUE(SetEvent(automatic));
    ASSERT_TRUE(SetEvent(manual));
    EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), WAIT_OBJECT_0);  // lowest index
    EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), WAIT_OBJECT_0);  // manual stays set
    ASSERT_TRUE(ResetEvent(manual));
    EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), WAIT_OBJECT_0 + 1);  // kept while unused
    EXPECT_EQ(WaitForSingleObject(automatic, 20), static_cast<DWORD>(WAIT_TIMEOUT));  // consumed
    EXPECT_TRUE(CloseHandle(manual));
    EXPECT_TRUE(CloseHandle(automatic));

    SetLastError(0);
    EXPECT_FALSE(CloseHandle(automatic));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_FAILED);
    EXPECT_EQ(WaitForSingleObject(nullptr, INFINITE), WAIT_FAILED);
    std::thread([] { EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS)); }).join();
}

// Arguments are checked before the pad is looked for: a bad one gives ERROR_BAD_ARGUMENTS
// whether a pad is plugged or not, as Windows' own XInput does.
TEST(SimulatedXInput, BadArgumentsComeBeforeTheConnection) {
    constexpr DWORD bad_arguments = 160;
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
