#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "platform/win32.h"
#include "zestsim/zestsim.h"
#include "zestsim/zestsim_c.h"

namespace {

constexpr GUID bus{0x96E42B22, 0xF5E9, 0x42F8, {0xB0, 0x43, 0xED, 0x0F, 0x93, 0x2F, 0x01, 0x4F}};
constexpr DWORD plug = 0x2AA004, unplug = 0x2AA008, version = 0x2AA00C, ready = 0x2AA010;
constexpr DWORD notification = 0x2AE804, report = 0x2AA808, output = 0x2AE820;

// A request as the bus client lays it out: little-endian fields, its size first.
std::vector<BYTE> request(std::initializer_list<std::uint32_t> words, std::size_t size) {
    std::vector<BYTE> bytes(size, 0);
    std::size_t offset = 0;
    for (std::uint32_t word : words) {
        std::memcpy(bytes.data() + offset, &word, sizeof word);
        offset += sizeof word;
    }
    return bytes;
}

class BusDriverTest : public ::testing::Test {
protected:
    void SetUp() override { zestsim::reset(); }
    void TearDown() override {
        for (HANDLE h : opened)
            CloseHandle(h);
        zestsim::reset();
    }

    // The device paths of the interfaces, found as the client finds them.
    std::vector<std::string> interfaces() {
        std::vector<std::string> paths;
        HDEVINFO list = SetupDiGetClassDevsA(&bus, nullptr, nullptr, 0x12);
        SP_DEVICE_INTERFACE_DATA data{};
        data.cbSize = sizeof data;
        for (DWORD i = 0; SetupDiEnumDeviceInterfaces(list, nullptr, &bus, i, &data); ++i) {
            DWORD size = 0;
            EXPECT_FALSE(SetupDiGetDeviceInterfaceDetailA(list, &data, nullptr, 0, &size, nullptr));
            EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
            std::vector<BYTE> detail(size);
            reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A*>(detail.data())->cbSize = 8;
            EXPECT_TRUE(SetupDiGetDeviceInterfaceDetailA(
                list, &data, reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_A*>(detail.data()),
                size, nullptr, nullptr));
            paths.emplace_back(reinterpret_cast<const char*>(detail.data() + 4));
        }
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
        SetupDiDestroyDeviceInfoList(list);
        return paths;
    }
    HANDLE open(const std::string& path) {
        HANDLE device = CreateFileA(path.c_str(), 0xC0000000, 3, nullptr, 3, 0xE0000080, nullptr);
        if (device != INVALID_HANDLE_VALUE) opened.push_back(device);
        return device;
    }
    HANDLE open_bus() {
        const std::vector<std::string> paths = interfaces();
        return paths.empty() ? INVALID_HANDLE_VALUE : open(paths[0]);
    }
    // Sends and waits; the Win32 error, 0 on success.
    DWORD send(HANDLE device, DWORD code, std::vector<BYTE> in) {
        OVERLAPPED overlapped{};
        overlapped.hEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
        DeviceIoControl(device, code, in.data(), static_cast<DWORD>(in.size()), nullptr, 0, nullptr,
                        &overlapped);
        DWORD bytes = 0;
        const BOOL ok = GetOverlappedResult(device, &overlapped, &bytes, TRUE);
        const DWORD error = ok ? 0 : GetLastError();
        CloseHandle(overlapped.hEvent);
        return error;
    }
    // Sends a request that stays pending; the buffer and OVERLAPPED live in the fixture.
    struct Pending {
        std::vector<BYTE> buffer;
        OVERLAPPED overlapped{};
    };
    void start(HANDLE device, DWORD code, Pending& p) {
        p.overlapped.hEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
        opened.push_back(p.overlapped.hEvent);
        EXPECT_FALSE(DeviceIoControl(device, code, p.buffer.data(),
                                     static_cast<DWORD>(p.buffer.size()), p.buffer.data(),
                                     static_cast<DWORD>(p.buffer.size()), nullptr, &p.overlapped));
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_IO_PENDING));
    }
    DWORD result(HANDLE device, Pending& p, bool wait) {
        DWORD bytes = 0;
        return GetOverlappedResult(device, &p.overlapped, &bytes, wait) ? 0 : GetLastError();
    }

    std::vector<HANDLE> opened;
};

TEST_F(BusDriverTest, InterfacesOpenAndCheckTheVersionAsConfigured) {
    ASSERT_EQ(interfaces().size(), 1u);  // installed by default
    HANDLE device = open_bus();
    ASSERT_NE(device, INVALID_HANDLE_VALUE);
    EXPECT_EQ(send(device, version, request({8, 1}, 8)), 0u);
    EXPECT_NE(send(device, version, request({8, 2}, 8)), 0u);
    EXPECT_NE(send(device, version, request({12, 1}, 8)), 0u);  // a size that doesn't match

    zestsim::set_bus_interfaces({{true, false}, {false, true}});
    const std::vector<std::string> paths = interfaces();
    ASSERT_EQ(paths.size(), 2u);
    EXPECT_EQ(open(paths[0]), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    HANDLE second = open(paths[1]);
    EXPECT_NE(send(second, version, request({8, 1}, 8)), 0u);

    zestsim::set_bus_driver(false);
    EXPECT_TRUE(interfaces().empty());
    EXPECT_EQ(open(paths[1]), INVALID_HANDLE_VALUE);
    EXPECT_EQ(zestsim::ioctl_calls(version), 4u);
}

TEST_F(BusDriverTest, APluggedReadyTargetShowsInXInputAndGetsItsRumble) {
    zestsim::plug_pad(0, zestsim::Subtype::Wheel);
    HANDLE device = open_bus();
    zestsim::refuse_serials({2});
    EXPECT_EQ(send(device, plug, request({16, 1, 0, 0x028E045E}, 16)), 0u);
    EXPECT_NE(send(device, plug, request({16, 1, 0, 0x028E045E}, 16)), 0u);  // taken
    EXPECT_NE(send(device, plug, request({16, 2, 0, 0x028E045E}, 16)), 0u);  // refused
    EXPECT_EQ(send(device, plug, request({16, 3, 0, 0x028E045E}, 16)), 0u);
    EXPECT_NE(send(device, plug, request({16, 0, 0, 0x028E045E}, 16)), 0u);
    EXPECT_NE(send(device, plug, request({16, 0x10000, 0, 0x028E045E}, 16)), 0u);
    EXPECT_EQ(send(device, plug, request({16, 0xFFFF, 0, 0x028E045E}, 16)), 0u);
    EXPECT_EQ(zestsim::target_user(1), -1);  // not before it is ready
    EXPECT_EQ(send(device, ready, request({8, 1}, 8)), 0u);
    EXPECT_EQ(zestsim::target_user(1), 1);  // the lowest free index

    std::vector<BYTE> sent = request({20, 1, 0x00FF1400, 0x7FFF8000, 0x00000001}, 20);
    EXPECT_EQ(send(device, report, sent), 0u);  // buttons A and guide, triggers 255 and 0
    XINPUT_STATE state{};
    ASSERT_EQ(XInputGetState(1, &state), 0u);
    EXPECT_EQ(state.Gamepad.wButtons, 0x1000);  // the guide bit stays private
    EXPECT_EQ(state.Gamepad.bLeftTrigger, 255);
    EXPECT_EQ(state.Gamepad.bRightTrigger, 0);
    EXPECT_EQ(state.Gamepad.sThumbLX, -32768);
    EXPECT_EQ(state.Gamepad.sThumbLY, 32767);
    EXPECT_EQ(state.Gamepad.sThumbRX, 1);
    XINPUT_CAPABILITIES caps{};
    ASSERT_EQ(XInputGetCapabilities(1, 0, &caps), 0u);
    EXPECT_EQ(caps.SubType, XINPUT_DEVSUBTYPE_GAMEPAD);
    EXPECT_EQ(caps.Vibration.wLeftMotorSpeed, 0xFFFF);

    Pending rumble{request({12, 1}, 12)};
    start(device, notification, rumble);
    EXPECT_EQ(result(device, rumble, false), static_cast<DWORD>(ERROR_IO_INCOMPLETE));
    XINPUT_VIBRATION motors{0xFF00, 0x0100};
    XInputSetState(1, &motors);
    EXPECT_EQ(WaitForSingleObject(rumble.overlapped.hEvent, 5000), WAIT_OBJECT_0);
    EXPECT_EQ(result(device, rumble, true), 0u);
    EXPECT_EQ(rumble.buffer[8], 0xFF);  // large motor first
    EXPECT_EQ(rumble.buffer[9], 0x01);

    start(device, notification, rumble);
    EXPECT_EQ(send(device, unplug, request({8, 1}, 8)), 0u);
    EXPECT_EQ(result(device, rumble, true), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    XINPUT_STATE gone{};
    EXPECT_EQ(XInputGetState(1, &gone), static_cast<DWORD>(ERROR_DEVICE_NOT_CONNECTED));
    EXPECT_EQ(zestsim::plugged_targets(), 2u);
}

TEST_F(BusDriverTest, WaitingRequestsEndByCancelOrClose) {
    HANDLE device = open_bus();
    Pending out{request({72}, 72)};
    start(device, output, out);
    EXPECT_EQ(zestsim::pending_requests(), 1u);
    EXPECT_TRUE(CancelIoEx(device, &out.overlapped));
    EXPECT_EQ(result(device, out, true), static_cast<DWORD>(ERROR_OPERATION_ABORTED));
    EXPECT_FALSE(CancelIoEx(device, &out.overlapped));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_FOUND));

    // Without an OVERLAPPED every request of that handle goes, and only of that handle.
    HANDLE other = open_bus();
    Pending elsewhere{request({72}, 72)};
    start(other, output, elsewhere);
    Pending second{request({72}, 72)};
    start(device, output, out);
    start(device, output, second);
    EXPECT_TRUE(CancelIoEx(device, nullptr));
    EXPECT_EQ(result(device, second, false), static_cast<DWORD>(ERROR_OPERATION_ABORTED));
    EXPECT_EQ(result(other, elsewhere, false), static_cast<DWORD>(ERROR_IO_INCOMPLETE));

    start(device, output, out);
    EXPECT_TRUE(CloseHandle(device));
    opened.erase(std::find(opened.begin(), opened.end(), device));
    EXPECT_EQ(WaitForSingleObject(out.overlapped.hEvent, 5000), WAIT_OBJECT_0);
    EXPECT_EQ(result(device, out, false), static_cast<DWORD>(ERROR_OPERATION_ABORTED));
    EXPECT_EQ(zestsim::pending_requests(), 1u);  // the other handle's
    EXPECT_TRUE(CancelIoEx(other, nullptr));
    EXPECT_FALSE(DeviceIoControl(device, version, nullptr, 0, nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(BusDriverTest, FaultsForEveryFailureTheClientMustSurvive) {
    HANDLE device = open_bus();
    zestsim::refuse_all_serials(true);
    EXPECT_NE(send(device, plug, request({16, 9, 0, 0}, 16)), 0u);
    zestsim::refuse_all_serials(false);
    ASSERT_EQ(send(device, plug, request({16, 9, 0, 0}, 16)), 0u);

    zestsim::fail_wait_ready(ERROR_INVALID_PARAMETER);
    EXPECT_EQ(send(device, ready, request({8, 9}, 8)), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    zestsim::fail_wait_ready(0);
    zestsim::set_target_appearance(zestsim::Appearance::Late, 2);
    EXPECT_EQ(send(device, ready, request({8, 9}, 8)), 0u);
    XINPUT_STATE state{};
    EXPECT_NE(XInputGetState(0, &state), 0u);
    EXPECT_NE(XInputGetState(0, &state), 0u);
    EXPECT_EQ(XInputGetState(0, &state), 0u);  // shows up on the third read

    zestsim::deny_reports(true);
    EXPECT_EQ(send(device, report, request({20, 9}, 20)), static_cast<DWORD>(ERROR_ACCESS_DENIED));

    zestsim::set_driver_delay(30);  // answers come late but come
    Pending late{request({8, 1}, 8)};
    start(device, version, late);
    EXPECT_EQ(result(device, late, false), static_cast<DWORD>(ERROR_IO_INCOMPLETE));
    EXPECT_EQ(result(device, late, true), 0u);
    zestsim::set_driver_delay(0);

    zestsim_refuse_requests(unplug, ERROR_GEN_FAILURE);  // refused before it is queued
    Pending refused{request({8, 9}, 8)};
    refused.overlapped.hEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    opened.push_back(refused.overlapped.hEvent);
    EXPECT_FALSE(DeviceIoControl(device, unplug, refused.buffer.data(), 8, nullptr, 0, nullptr,
                                 &refused.overlapped));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_GEN_FAILURE));
    EXPECT_EQ(result(device, refused, false), static_cast<DWORD>(ERROR_IO_INCOMPLETE));
    EXPECT_EQ(WaitForSingleObject(refused.overlapped.hEvent, 0), WAIT_TIMEOUT);
    EXPECT_EQ(send(device, version, request({8, 1}, 8)), 0u);  // other codes pass
    zestsim_refuse_requests(unplug, 0);
    EXPECT_EQ(send(device, unplug, request({8, 99}, 8)),
              static_cast<DWORD>(ERROR_INVALID_PARAMETER));  // the driver's own answer
    zestsim_ignore_cancel(1);
    Pending stuck{request({72}, 72)};
    start(device, output, stuck);
    EXPECT_TRUE(CancelIoEx(device, &stuck.overlapped));
    EXPECT_EQ(result(device, stuck, false), static_cast<DWORD>(ERROR_IO_INCOMPLETE));
    zestsim_ignore_cancel(0);
    EXPECT_TRUE(CancelIoEx(device, &stuck.overlapped));
    EXPECT_EQ(result(device, stuck, true), static_cast<DWORD>(ERROR_OPERATION_ABORTED));
    zestsim_refuse_threads(1);
    EXPECT_EQ(CreateThread(
                  nullptr, 0, [](LPVOID) -> DWORD { return 0; }, nullptr, 0, nullptr),
              nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
    zestsim_refuse_threads(0);

    zestsim::set_target_appearance(zestsim::Appearance::Never);
    ASSERT_EQ(send(device, plug, request({16, 10, 0, 0}, 16)), 0u);
    EXPECT_EQ(send(device, ready, request({8, 10}, 8)), 0u);
    EXPECT_NE(XInputGetState(1, &state), 0u);
    EXPECT_EQ(zestsim::target_user(10), -1);

    const auto readied = std::chrono::steady_clock::now();
    zestsim::set_target_appearance(zestsim::Appearance::Late, 0, std::chrono::milliseconds(300));
    ASSERT_EQ(send(device, plug, request({16, 11, 0, 0}, 16)), 0u);
    EXPECT_EQ(send(device, ready, request({8, 11}, 8)), 0u);
    while (zestsim::target_user(11) < 0 &&
           std::chrono::steady_clock::now() - readied < std::chrono::seconds(10)) {
        XInputGetState(1, &state);
    }
    EXPECT_GE(std::chrono::steady_clock::now() - readied, std::chrono::milliseconds(300));
    EXPECT_EQ(zestsim::target_user(11), 1);
    EXPECT_EQ(zestsim::target_user(10), -1);  // still ready, but its moment was under Never
}

}  // namespace
