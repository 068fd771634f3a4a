#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "backend/bus/bus_client.h"
#include "backend/bus/bus_requests.h"
#include "support/eventually.h"
#include "support/log_capture.h"
#include "zestsim/zestsim.h"

namespace {

struct Rumble {
    std::atomic<int> calls{0}, large{-1}, small{-1};
};

void on_rumble(BusClient*, BusTarget*, std::uint8_t large, std::uint8_t small, std::uint8_t,
               void* user_data) {
    auto* rumble = static_cast<Rumble*>(user_data);
    rumble->large = large;
    rumble->small = small;
    ++rumble->calls;
}

void other_callback(BusClient*, BusTarget*, std::uint8_t, std::uint8_t, std::uint8_t, void*) {}

// Another program rumbles the target at user 0 (the large motor's byte is `large`) and the
// callback tells it.
bool rumble_arrives(Rumble& rumble, std::uint8_t large) {
    const int before = rumble.calls;
    XINPUT_VIBRATION motors{static_cast<WORD>(large << 8), 0x00FF};
    XInputSetState(0, &motors);
    return eventually([&] { return rumble.calls > before; }) && rumble.large == large &&
           rumble.small == 0;
}

class BusClientTest : public ::testing::Test {
protected:
    void SetUp() override { zestsim::reset(); }
    void TearDown() override {
        bus_target_free(target);
        bus_client_free(client);
        EXPECT_EQ(zestsim::pending_requests(), 0u);  // every thread ended its requests
        zestsim::reset();
    }
    BusStatus connect() {
        client = bus_client_alloc();
        return bus_client_connect(client);
    }
    void connect_and_plug() {
        ASSERT_EQ(connect(), BUS_OK);
        target = bus_target_alloc_x360();
        ASSERT_EQ(bus_target_add(client, target), BUS_OK);
    }

    BusClient* client = nullptr;
    BusTarget* target = nullptr;
};

TEST_F(BusClientTest, ConnectTriesInterfacesInOrderAndReportsTheLastOne) {
    zestsim::set_bus_driver(false);
    EXPECT_EQ(connect(), BUS_ERROR_NOT_FOUND);
    zestsim::set_bus_driver(true);
    EXPECT_EQ(bus_client_connect(client), BUS_OK);  // a failed connect can be tried again
    EXPECT_EQ(bus_client_connect(client), BUS_ERROR_ALREADY_CONNECTED);

    const zestsim::BusInterface works{}, shut{true, false}, old{false, true};
    const struct {
        std::vector<zestsim::BusInterface> interfaces;
        BusStatus status;
        std::uint64_t opens;
    } rows[] = {{{shut, works}, BUS_OK, 2},
                {{works, shut}, BUS_OK, 1},  // the first that passes wins
                {{old, shut}, BUS_ERROR_ACCESS_FAILED, 2},
                {{shut, old}, BUS_ERROR_VERSION_MISMATCH, 2}};
    for (const auto& row : rows) {
        bus_client_free(std::exchange(client, nullptr));
        zestsim::set_bus_interfaces(row.interfaces);
        const std::uint64_t opens = zestsim::calls("CreateFileA");
        EXPECT_EQ(connect(), row.status) << row.opens;
        EXPECT_EQ(zestsim::calls("CreateFileA") - opens, row.opens);
    }
}

TEST_F(BusClientTest, TargetsFindTheirSerialAndMoveThroughTheirStates) {
    ASSERT_EQ(connect(), BUS_OK);
    BusTarget* taken = bus_target_alloc_x360();
    ASSERT_EQ(bus_target_add(client, taken), BUS_OK);
    target = bus_target_alloc_x360();
    EXPECT_EQ(bus_target_add(client, target), BUS_OK);
    EXPECT_EQ(target->serial, 2u);
    EXPECT_EQ(bus_target_add(client, target), BUS_ERROR_ALREADY_PLUGGED);

    EXPECT_EQ(bus_target_remove(client, taken), BUS_OK);
    EXPECT_EQ(bus_target_remove(client, taken), BUS_ERROR_NOT_PLUGGED);
    EXPECT_EQ(taken->serial, 1u);  // kept after removal
    EXPECT_EQ(bus_target_update_x360(client, taken, {}), BUS_ERROR_INVALID_TARGET);  // the bus says
    EXPECT_EQ(bus_target_add(client, taken), BUS_OK);  // the search starts over at 1
    EXPECT_EQ(taken->serial, 1u);
    bus_target_remove(client, taken);
    bus_target_free(taken);
    BusTarget blank;  // not from bus_target_alloc_x360
    EXPECT_EQ(bus_target_add(client, &blank), BUS_ERROR_UNINITIALIZED);
}

// A notification thread that cannot start fails its registration without leaking a handle; one
// that started takes over a new callback and ends with its target.
TEST_F(BusClientTest, ANotificationThreadStartsOnceAndEndsWithItsTarget) {
    connect_and_plug();
    // The output thread makes its own event before its first request; not counted here.
    ASSERT_TRUE(eventually([] { return zestsim::ioctl_calls(BUS_IOCTL_AWAIT_OUTPUT) > 0; }));
    const std::uint64_t events = zestsim::calls("CreateEvent");
    const std::uint64_t closed = zestsim::calls("CloseHandle");
    zestsim::refuse_threads(true);
    EXPECT_EQ(bus_target_register_notification(client, target, on_rumble, nullptr),
              BUS_ERROR_THREAD_NOT_STARTED);
    EXPECT_EQ(zestsim::calls("CreateEvent") - events, zestsim::calls("CloseHandle") - closed);
    zestsim::refuse_threads(false);
    Rumble rumble;
    const std::uint64_t threads = zestsim::calls("CreateThread");
    ASSERT_EQ(bus_target_register_notification(client, target, on_rumble, &rumble), BUS_OK);
    EXPECT_EQ(bus_target_register_notification(client, target, on_rumble, &rumble),
              BUS_ERROR_CALLBACK_REGISTERED);
    EXPECT_EQ(bus_target_register_notification(client, target, other_callback, nullptr), BUS_OK);
    EXPECT_EQ(zestsim::calls("CreateThread"), threads + 1);  // the running thread takes it over
    EXPECT_EQ(bus_target_remove(client, target), BUS_OK);
    bus_target_free(std::exchange(target, nullptr));  // returns once its thread has ended
    EXPECT_EQ(zestsim::pending_requests(), 1u);       // the output request
}

// A driver that refuses one kind of request at once, as it would one it cannot queue: every
// call ends, and the threads that retry stay idle through a second of refusals, then pass once
// the driver answers again (a refused notification, whatever its error, so that rumble gets
// through). Every serial is tried before a plug fails; an older driver's answer to a ready wait
// counts as ready.
TEST_F(BusClientTest, EachRefusedControlCodeEndsEveryCallAndCostsNoCore) {
    constexpr DWORD failed = ERROR_GEN_FAILURE;
    constexpr DWORD notification = BUS_IOCTL_AWAIT_X360_NOTIFICATION;
    const struct {
        DWORD code, error;
        BusStatus connect, add, remove;
    } rows[] = {
        {BUS_IOCTL_CHECK_VERSION, failed, BUS_ERROR_VERSION_MISMATCH, BUS_ERROR_NOT_FOUND,
         BUS_ERROR_NOT_FOUND},
        {BUS_IOCTL_PLUG_TARGET, failed, BUS_OK, BUS_ERROR_NO_FREE_SLOT, BUS_ERROR_NOT_PLUGGED},
        {BUS_IOCTL_WAIT_READY, failed, BUS_OK, BUS_ERROR_NOT_PLUGGED, BUS_ERROR_NOT_PLUGGED},
        {BUS_IOCTL_WAIT_READY, ERROR_INVALID_PARAMETER, BUS_OK, BUS_OK, BUS_OK},
        {BUS_IOCTL_UNPLUG_TARGET, failed, BUS_OK, BUS_OK, BUS_ERROR_REMOVAL_FAILED},
        {BUS_IOCTL_SUBMIT_X360_REPORT, failed, BUS_OK, BUS_OK, BUS_OK},
        {notification, failed, BUS_OK, BUS_OK, BUS_OK},
        {notification, ERROR_ACCESS_DENIED, BUS_OK, BUS_OK, BUS_OK},
        {notification, ERROR_OPERATION_ABORTED, BUS_OK, BUS_OK, BUS_OK},
        {BUS_IOCTL_AWAIT_OUTPUT, failed, BUS_OK, BUS_OK, BUS_OK}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.code) + " refused with " + std::to_string(row.error));
        zestsim::reset();
        zestsim::refuse_requests(row.code, row.error);
        EXPECT_EQ(connect(), row.connect);
        target = bus_target_alloc_x360();
        Rumble rumble;
        EXPECT_EQ(bus_target_add(client, target), row.add);
        EXPECT_EQ(zestsim::plugged_targets(), row.add == BUS_OK ? 1u : 0u);
        EXPECT_TRUE(row.add != BUS_ERROR_NO_FREE_SLOT ||  // every serial
                    zestsim::ioctl_calls(BUS_IOCTL_PLUG_TARGET) == 65535u);
        if (row.add == BUS_OK) {
            EXPECT_EQ(bus_target_register_notification(client, target, on_rumble, &rumble), BUS_OK);
            EXPECT_EQ(bus_target_update_x360(client, target, {}), BUS_OK);  // a lost report
        }
        const std::uint64_t calls = zestsim::ioctl_calls(row.code);
        const std::clock_t cpu = std::clock();
        std::this_thread::sleep_for(std::chrono::seconds(1));
        EXPECT_LT(std::clock() - cpu, CLOCKS_PER_SEC / 4);  // retrying at once takes a core
        EXPECT_LT(zestsim::ioctl_calls(row.code) - calls, 100u);
        zestsim::refuse_requests(row.code, 0);
        // (A target whose ready wait was refused shows in no XInput slot.)
        EXPECT_TRUE(row.add != BUS_OK || row.code == BUS_IOCTL_WAIT_READY ||
                    rumble_arrives(rumble, 7));
        zestsim::refuse_requests(row.code, row.error);
        EXPECT_EQ(bus_target_remove(client, target), row.remove);
        bus_target_free(std::exchange(target, nullptr));
        bus_client_free(std::exchange(client, nullptr));
        EXPECT_EQ(zestsim::pending_requests(), 0u);
    }
}

// Out of handles at each event the client makes in turn: every call that needs one ends at once
// in an error, the client and target can be freed at once, and closing the client takes what
// stays plugged off the bus.
TEST_F(BusClientTest, EachRefusedEventEndsItsCallInAnErrorAndLeavesNothingWaiting) {
    const testsupport::LogCapture logged;
    for (std::uint32_t made = 0;; ++made) {
        SCOPED_TRACE("events made before the refusal: " + std::to_string(made));
        ASSERT_LT(made, 20u);
        zestsim::reset();
        zestsim::refuse_events(true, made);
        client = bus_client_alloc();
        target = bus_target_alloc_x360();
        Rumble rumble;
        std::vector<BusStatus> statuses;
        EXPECT_EQ(client == nullptr, made == 0);  // its termination event
        if (client != nullptr) {
            statuses = {bus_client_connect(client), bus_target_add(client, target),
                        bus_target_register_notification(client, target, on_rumble, &rumble)};
            if (statuses.back() == BUS_OK) {  // a thread that started has what it needs
                EXPECT_LE(zestsim::calls("CreateEvent"), made);  // none was refused
                EXPECT_TRUE(rumble_arrives(rumble, 0xFF));
            }
            statuses.push_back(bus_target_update_x360(client, target, {}));
            statuses.push_back(bus_target_remove(client, target));
        }
        EXPECT_LE(zestsim::ioctl_calls(BUS_IOCTL_PLUG_TARGET), 1u);  // no serial search
        const auto start = std::chrono::steady_clock::now();
        bus_target_free(std::exchange(target, nullptr));
        bus_client_free(std::exchange(client, nullptr));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
        EXPECT_EQ(zestsim::pending_requests(), 0u);
        EXPECT_EQ(zestsim::plugged_targets(), 0u);
        EXPECT_EQ(logged.lines(), std::vector<std::string>());
        if (HasFailure() || std::ranges::count(statuses, BUS_OK) == 5) break;
    }
}

TEST_F(BusClientTest, AStuckDriverHoldsTheWayOutOnlyBrieflyAndTheThreadsFreeTheirRecords) {
    const testsupport::LogCapture logged;
    connect_and_plug();
    ASSERT_EQ(bus_target_register_notification(client, target, on_rumble, nullptr), BUS_OK);
    ASSERT_TRUE(eventually([] { return zestsim::pending_requests() == 2; }));
    zestsim::ignore_cancel(true);
    const auto start = std::chrono::steady_clock::now();
    bus_target_free(std::exchange(target, nullptr));
    bus_client_free(std::exchange(client, nullptr));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(std::ranges::count(logged.lines(),
                                 "warning Gamepad: the bus driver did not answer in "
                                 "time; leaving without waiting"),
              2);
    zestsim::reset();  // the driver answers at last: each thread closes its event and its record's
    EXPECT_TRUE(eventually([] { return zestsim::calls("CloseHandle") == 5; }));
}

}  // namespace
