#include <gtest/gtest.h>

#include <thread>

#include "platform/win32.h"
#include "zestsim/zestsim.h"

namespace {

// A wait that another thread ends, and a thread handle set as its thread ends, are shown through
// the bus client's threads, which their stop events wake.
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
}

}  // namespace
