#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/win32.h"
#include "zestsim/zestsim.h"

namespace {

// A wait that another thread ends is shown through the bus client's threads, which their stop
// events wake.
TEST(SimulatedSync, EventsWakeTheLowestIndexAndAutoResetOnlyWhatAWaitTook) {
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
}

TEST(SimulatedSync, BadHandlesGiveTheWin32ErrorAndNeverCrash) {
    HANDLE event = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    ASSERT_TRUE(CloseHandle(event));
    SetLastError(0);
    EXPECT_FALSE(CloseHandle(event));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_FAILED);
    EXPECT_EQ(WaitForSingleObject(nullptr, INFINITE), WAIT_FAILED);
    std::thread([] { EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS)); }).join();
    zestsim::refuse_events(true);  // out of handles
    EXPECT_EQ(CreateEventA(nullptr, TRUE, FALSE, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_EQ(CreateEventW(nullptr, FALSE, FALSE, nullptr), nullptr);
    zestsim::refuse_events(false);
    EXPECT_TRUE(CloseHandle(CreateEventA(nullptr, TRUE, FALSE, nullptr)));
}

TEST(SimulatedSync, AThreadHandleIsSignalledWhenItsThreadEnds) {
    static std::atomic<int> ran{0};  // outlives the detached threads of this test
    ran = 0;
    const auto body = [](LPVOID) -> DWORD {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        ++ran;
        return 0;
    };
    HANDLE thread = CreateThread(nullptr, 0, body, nullptr, 0, nullptr);
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(ran.load(), 1);
    EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0);  // stays signalled
    EXPECT_TRUE(CloseHandle(thread));
    EXPECT_TRUE(CloseHandle(CreateThread(nullptr, 0, body, nullptr, 0, nullptr)));  // still running
}

}  // namespace
