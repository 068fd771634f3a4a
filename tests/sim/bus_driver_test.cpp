#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "platform/win32.h"
#include "zestsim/zestsim.h"
#include "zestsim/zestsim_c.h"

namespace {

constexpr DWORD plug = 0x2AA004, unplug = 0x2AA008, version = 0x2AA00C, ready = 0x2AA010;
constexpr DWORD notification = 0x2AE804, report = 0x2AA808, output = 0x2AE820;

// A request as the bus client lays it out: little-endian fields, its size first.
std::vector<BYTE> request(std::initializer_list<std::uint32_t> words) {
    std::vector<BYTE> bytes(*words.begin(), 0);
    std::memcpy(bytes.data(), std::data(words), words.size() * sizeof(std::uint32_t));
    return bytes;
}

// Interfaces, opening and the version check as configured are covered through the bus client.
class BusDriverTest : public ::testing::Test {
protected:
    void SetUp() override { zestsim::reset(); }
    void TearDown() override {
        for (HANDLE h : opened)
            CloseHandle(h);
        zestsim::reset();
    }
    // The first interface, by the path the setup API gives it (found as the client finds it).
    HANDLE open_bus() {
        opened.push_back(CreateFileA(R"(\\?\zestsim#vigembus#0)", 0xC0000000, 3, nullptr, 3,
                                     0xE0000080, nullptr));
        return opened.back();
    }
    // Sends and waits; the Win32 error, 0 on success.
    DWORD send(HANDLE device, DWORD code, std::vector<BYTE> in) {
        Pending p{std::move(in)};
        if (issue(device, code, p)) return 0;
        const DWORD error = GetLastError();
        return error == ERROR_IO_PENDING ? result(device, p, true) : error;
    }
    void close(HANDLE handle) {
        EXPECT_TRUE(CloseHandle(handle));
        opened.erase(std::find(opened.begin(), opened.end(), handle));
    }
    // A request that stays pending; the buffer and OVERLAPPED live with the caller.
    struct Pending {
        std::vector<BYTE> buffer;
        OVERLAPPED overlapped{};
    };
    // Sends `p`, with an event of its own unless it has one; DeviceIoControl's answer.
    BOOL issue(HANDLE device, DWORD code, Pending& p) {
        if (p.overlapped.hEvent == nullptr) {
            p.overlapped.hEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
            opened.push_back(p.overlapped.hEvent);
        }
        const auto size = static_cast<DWORD>(p.buffer.size());
        return DeviceIoControl(device, code, p.buffer.data(), size, p.buffer.data(), size, nullptr,
                               &p.overlapped);
    }
    void start(HANDLE device, DWORD code, Pending& p) {
        EXPECT_FALSE(issue(device, code, p));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_IO_PENDING));
    }
    DWORD result(HANDLE device, Pending& p, bool wait) {
        DWORD bytes = 0;
        return GetOverlappedResult(device, &p.overlapped, &bytes, wait) ? 0 : GetLastError();
    }

    std::vector<HANDLE> opened;
};

// The C control calls, thin as they are, stand in for the C++ ones here and there. A target
// belongs to the handle that plugged it and goes when that handle is closed, as a bus driver
// cleans up after a program that ends.
TEST_F(BusDriverTest, APluggedReadyTargetShowsInXInputUntilUnpluggedOrItsHandleCloses) {
    zestsim_plug_pad(0, 2);  // a wheel
    HANDLE device = open_bus();
    zestsim::refuse_serials({2});
    // Serial 1 twice (taken the second time), 2 refused, 0 and 0x10000 out of range.
    const std::pair<std::uint32_t, bool> plugs[] = {
        {1, true}, {1, false}, {2, false}, {3, true}, {0, false}, {0x10000, false}, {0xFFFF, true}};
    for (const auto& [serial, plugged] : plugs) {
        EXPECT_EQ(send(device, plug, request({16, serial, 0, 0x028E045E})) == 0, plugged) << serial;
    }
    EXPECT_EQ(zestsim_target_user(1), -1);  // not before it is ready
    EXPECT_EQ(send(device, ready, request({8, 1})), 0u);
    EXPECT_EQ(zestsim_target_user(1), 1);  // the lowest free index

    // Buttons A and guide, triggers 255 and 0, the left stick at its ends, the right at (1, 0).
    EXPECT_EQ(send(device, report, request({20, 1, 0x00FF1400, 0x7FFF8000, 1})), 0u);
    XINPUT_STATE state{};
    ASSERT_EQ(XInputGetState(1, &state), 0u);
    const XINPUT_GAMEPAD& pad = state.Gamepad;
    EXPECT_EQ(pad.wButtons, 0x1000);  // the guide bit stays private
    EXPECT_EQ(std::vector<int>({pad.bLeftTrigger, pad.bRightTrigger, pad.sThumbLX, pad.sThumbLY,
                                pad.sThumbRX, pad.sThumbRY}),
              std::vector<int>({255, 0, -32768, 32767, 1, 0}));

    // Its rumble, large motor first, is shown through the bus client; an unplug ends the wait.
    Pending rumble{request({12, 1})};
    start(device, notification, rumble);
    EXPECT_EQ(send(device, unplug, request({8, 1})), 0u);
    EXPECT_EQ(result(device, rumble, true), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(XInputGetState(1, &state), static_cast<DWORD>(ERROR_DEVICE_NOT_CONNECTED));
    EXPECT_EQ(zestsim::plugged_targets(), 2u);

    HANDLE other = open_bus();
    ASSERT_EQ(send(other, plug, request({16, 4})), 0u);
    ASSERT_EQ(send(device, ready, request({8, 4})), 0u);
    ASSERT_EQ(XInputGetState(1, &state), 0u);
    close(other);
    EXPECT_EQ(zestsim::plugged_targets(), 2u);
    EXPECT_EQ(XInputGetState(1, &state), static_cast<DWORD>(ERROR_DEVICE_NOT_CONNECTED));
    close(device);
    EXPECT_EQ(zestsim::plugged_targets(), 0u);
}

// As on Windows, a cancel only marks the request: the driver completes it afterwards, so right
// after CancelIoEx it is still pending. Closing a handle completes nothing by itself: the driver
// ends what it holds for it, unless it ignores cancellation, and then the request stays pending
// until the driver goes.
TEST_F(BusDriverTest, CancelCompletesLaterAndCloseLeavesWhatAStuckDriverHolds) {
    HANDLE device = open_bus();
    Pending out{request({72})};
    for (const int delay : {0, 300}) {  // a slow driver is slow to cancel too
        SCOPED_TRACE("driver delay " + std::to_string(delay));
        zestsim::set_driver_delay(delay);
        start(device, output, out);
        ASSERT_TRUE(CancelIoEx(device, &out.overlapped));
        if (delay != 0) {
            EXPECT_EQ(result(device, out, false), static_cast<DWORD>(ERROR_IO_INCOMPLETE));
            EXPECT_EQ(out.overlapped.Internal, 0x103u);
            EXPECT_EQ(WaitForSingleObject(out.overlapped.hEvent, 0), WAIT_TIMEOUT);
            EXPECT_TRUE(CancelIoEx(device, &out.overlapped));  // still there to be found
        }
        EXPECT_EQ(result(device, out, true), static_cast<DWORD>(ERROR_OPERATION_ABORTED));
        EXPECT_EQ(zestsim::pending_requests(), 0u);
    }
    zestsim::set_driver_delay(0);
    SetLastError(0);
    EXPECT_FALSE(CancelIoEx(device, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_FOUND));

    start(device, output, out);
    close(device);
    EXPECT_EQ(WaitForSingleObject(out.overlapped.hEvent, 0), WAIT_OBJECT_0);
    EXPECT_EQ(result(device, out, false), static_cast<DWORD>(ERROR_OPERATION_ABORTED));

    zestsim::ignore_cancel(true);
    device = open_bus();
    start(device, output, out);
    EXPECT_TRUE(CancelIoEx(device, &out.overlapped));
    close(device);
    EXPECT_EQ(WaitForSingleObject(out.overlapped.hEvent, 20), WAIT_TIMEOUT);
    EXPECT_EQ(out.overlapped.Internal, 0x103u);
    EXPECT_EQ(zestsim::pending_requests(), 1u);
    zestsim::reset();  // the driver goes, and with it what it held
    EXPECT_EQ(out.overlapped.Internal & 0xFFFF, static_cast<ULONG_PTR>(ERROR_OPERATION_ABORTED));
    EXPECT_EQ(zestsim::pending_requests(), 0u);
}

// A request that the driver fails at once, or refuses before queueing it, is never completed,
// as on Windows: FALSE with its error, its event clear and its OVERLAPPED still marked pending.
// One done at once sets the event.
TEST_F(BusDriverTest, RequestsFailedAtOnceCompleteNothing) {
    HANDLE device = open_bus();
    ASSERT_EQ(send(device, plug, request({16, 1})), 0u);
    zestsim_refuse_requests(output, ERROR_GEN_FAILURE);  // would otherwise stay pending
    const struct {
        DWORD code;
        std::vector<BYTE> in;
        DWORD error;
    } rows[] = {{version, request({8, 1}), 0},
                {version, request({8, 2}), 50},
                {plug, request({16, 1}), 183},  // taken
                {unplug, request({8, 7}), ERROR_INVALID_PARAMETER},
                {report, request({20, 7}), ERROR_ACCESS_DENIED},
                {notification, request({12, 7}), ERROR_ACCESS_DENIED},
                {ready, request({4}), ERROR_INVALID_PARAMETER},
                {output, request({72}), ERROR_GEN_FAILURE}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.code) + ", error " + std::to_string(row.error));
        Pending p{row.in};
        p.overlapped.hEvent = CreateEventA(nullptr, FALSE, TRUE, nullptr);  // set: to be cleared
        opened.push_back(p.overlapped.hEvent);
        SetLastError(0);
        EXPECT_EQ(issue(device, row.code, p), row.error == 0);
        EXPECT_EQ(GetLastError(), row.error);
        EXPECT_EQ(p.overlapped.Internal, row.error == 0 ? 0u : 0x103u);
        EXPECT_EQ(WaitForSingleObject(p.overlapped.hEvent, 0),
                  row.error == 0 ? WAIT_OBJECT_0 : WAIT_TIMEOUT);
    }
}

}  // namespace
