#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <utility>

#include "backend/bus/bus_client.h"
#include "backend/bus/bus_requests.h"
#include "support/eventually.h"
#include "support/log_capture.h"
#include "windows/bench/pad_board.h"

// Our bus client against the bench's bus driver under Wine (bench.sh runs it): what the client
// sends shows on the pad board, and what the board says comes back through the driver.

namespace {

constexpr char unanswered[] =
    "warning Gamepad: the bus driver did not answer in time; leaving without waiting";

// The pad board of this run, through Wine's drive Z:.
class Board {
public:
    Board() : path_(std::string("Z:") + std::getenv("ZEST_PAD_BOARD")) {}

    zest_board read() const {
        zest_board board{};
        access(false, 0, &board, sizeof board);
        return board;
    }
    // What the SDL side does when a program rumbles the pad at `slot`.
    void rumble(std::size_t slot, std::uint16_t large, std::uint16_t small) const {
        zest_board_pad pad = read().pads[slot];
        pad.motor_large = large;
        pad.motor_small = small;
        ++pad.motor_sequence;
        access(true, offsetof(zest_board, pads) + slot * sizeof pad + 20, &pad.motor_large, 8);
    }
    void set_faults(const zest_board_faults& faults) const {
        zest_board_faults copy = faults;
        access(true, offsetof(zest_board, faults), &copy, sizeof copy);
    }

private:
    void access(bool write, std::size_t offset, void* bytes, DWORD size) const {
        const HANDLE file = CreateFileA(path_.c_str(), GENERIC_READ | GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE) << path_;
        OVERLAPPED at{};
        at.Offset = static_cast<DWORD>(offset);
        DWORD done = 0;
        const BOOL ok = write ? WriteFile(file, bytes, size, &done, &at)
                              : ReadFile(file, bytes, size, &done, &at);
        CloseHandle(file);
        ASSERT_TRUE(ok && done == size);
    }
    std::string path_;
};

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

// The target pad of the board that holds `serial`, or -1.
int slot_of(const zest_board& board, std::uint32_t serial) {
    for (std::size_t slot = ZEST_BOARD_FIRST_TARGET; slot < ZEST_BOARD_PADS; ++slot) {
        const zest_board_pad& pad = board.pads[slot];
        if (pad.kind == ZEST_BOARD_TARGET && pad.serial == serial) return static_cast<int>(slot);
    }
    return -1;
}

BusClient* connected_client() {
    BusClient* client = bus_client_alloc();
    EXPECT_EQ(bus_client_connect(client), BUS_OK);
    return client;
}

TEST(BusDriver, TheClientPlugsFeedsHearsRumbleAndUnplugsThroughTheBoard) {
    const testsupport::LogCapture logged;
    const Board board;
    BusClient* client = connected_client();
    BusTarget* target = bus_target_alloc_x360();
    ASSERT_EQ(bus_target_add(client, target), BUS_OK);
    const int slot = slot_of(board.read(), target->serial);
    ASSERT_EQ(slot, static_cast<int>(ZEST_BOARD_FIRST_TARGET));
    EXPECT_EQ(board.read().targets_plugged, 1u);

    // Each report lands on the board, under a new sequence number.
    const BusX360Report report{0x1000, 200, 7, -1234, 32767, -32768, 5};
    const std::uint32_t sequence = board.read().pads[slot].sequence;
    ASSERT_EQ(bus_target_update_x360(client, target, report), BUS_OK);
    const zest_board_pad pad = board.read().pads[slot];
    EXPECT_GT(pad.sequence, sequence);
    EXPECT_EQ(pad.buttons, 0x1000);
    EXPECT_EQ(pad.left_trigger, 200);
    EXPECT_EQ(pad.right_trigger, 7);
    EXPECT_EQ(pad.thumb_lx, -1234);
    EXPECT_EQ(pad.thumb_ly, 32767);
    EXPECT_EQ(pad.thumb_rx, -32768);
    EXPECT_EQ(pad.thumb_ry, 5);

    // Motors set on the pad complete the pended notification, one per rumble.
    Rumble rumble;
    ASSERT_EQ(bus_target_register_notification(client, target, on_rumble, &rumble), BUS_OK);
    board.rumble(slot, 30000, 20000);
    ASSERT_TRUE(eventually([&] { return rumble.calls == 1; }));
    EXPECT_EQ(rumble.large.load(), 30000 >> 8);
    EXPECT_EQ(rumble.small.load(), 20000 >> 8);
    board.rumble(slot, 0, 65535);
    ASSERT_TRUE(eventually([&] { return rumble.calls == 2; }));
    EXPECT_EQ(rumble.large.load(), 0);
    EXPECT_EQ(rumble.small.load(), 255);

    // A taken serial is refused; the bus gives another client the next one, and takes that
    // one back when its handle closes.
    BusRequest<16> plug_taken;
    plug_taken.put(4, target->serial);
    EXPECT_EQ(bus_send(client->device, BUS_IOCTL_PLUG_TARGET, plug_taken), BUS_ERROR_NO_FREE_SLOT);
    BusClient* other = connected_client();
    BusTarget* other_target = bus_target_alloc_x360();
    ASSERT_EQ(bus_target_add(other, other_target), BUS_OK);
    EXPECT_EQ(other_target->serial, target->serial + 1);
    EXPECT_EQ(slot_of(board.read(), other_target->serial), slot + 1);
    EXPECT_EQ(board.read().targets_plugged, 2u);
    bus_client_free(other);
    bus_target_free(other_target);
    EXPECT_TRUE(eventually([&] { return board.read().targets_plugged == 1; }));
    EXPECT_EQ(board.read().pads[slot + 1].kind, ZEST_BOARD_EMPTY);

    // Refused at once with the status the test chose, as often as it chose.
    board.set_faults({BUS_IOCTL_SUBMIT_X360_REPORT, 0xC0000022 /* access denied */, 2, 0, 0, {}});
    EXPECT_EQ(bus_target_update_x360(client, target, report), BUS_ERROR_INVALID_TARGET);
    EXPECT_EQ(bus_target_update_x360(client, target, report), BUS_ERROR_INVALID_TARGET);
    EXPECT_EQ(bus_target_update_x360(client, target, report), BUS_OK);
    board.set_faults(
        {BUS_IOCTL_UNPLUG_TARGET, 0xC0000001 /* unsuccessful */, 0xFFFFFFFF, 0, 0, {}});
    EXPECT_EQ(bus_target_remove(client, target), BUS_ERROR_REMOVAL_FAILED);
    EXPECT_EQ(bus_target_remove(client, target), BUS_ERROR_REMOVAL_FAILED);
    EXPECT_EQ(slot_of(board.read(), target->serial), slot);
    board.set_faults({});

    // The unplug empties the pad and ends the notification request; nothing is left waiting.
    EXPECT_EQ(bus_target_remove(client, target), BUS_OK);
    EXPECT_EQ(board.read().pads[slot].kind, ZEST_BOARD_EMPTY);
    EXPECT_EQ(board.read().targets_plugged, 0u);
    bus_target_free(target);
    bus_client_free(client);
    EXPECT_TRUE(eventually([&] { return board.read().requests_pended == 0; }));
    EXPECT_EQ(std::ranges::count(logged.lines(), unanswered), 0);
}

// A target that never becomes ready holds its ready wait until it is cancelled; a driver that
// ignores cancellation holds the client's way out only for the bounded wait, with one warning
// per thread it leaves behind.
TEST(BusDriver, ARequestTheDriverHoldsCostsTheClientOnlyItsBoundedWait) {
    const testsupport::LogCapture logged;
    const Board board;
    board.set_faults({0, 0, 0, 0, 1 /* never ready */, {}});
    BusClient* client = connected_client();
    BusRequest<16> plug;
    plug.put(4, std::uint32_t{1});
    ASSERT_EQ(bus_send(client->device, BUS_IOCTL_PLUG_TARGET, plug), BUS_OK);
    EXPECT_EQ(slot_of(board.read(), 1), -1);  // never shows either
    BusRequest<8> ready;
    ready.put(4, std::uint32_t{1});
    OVERLAPPED overlapped{};
    overlapped.hEvent = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    ASSERT_EQ(
        bus_start(client->device, BUS_IOCTL_WAIT_READY, ready.bytes, 8, nullptr, 0, overlapped),
        static_cast<DWORD>(ERROR_IO_PENDING));
    EXPECT_EQ(bus_finish(client->device, overlapped, 100),
              static_cast<DWORD>(ERROR_OPERATION_ABORTED));
    CloseHandle(overlapped.hEvent);
    EXPECT_EQ(std::ranges::count(logged.lines(), unanswered), 1);
    bus_client_free(client);

    board.set_faults({0, 0, 0, 1 /* ignore cancel */, 0, {}});
    client = connected_client();
    BusTarget* target = bus_target_alloc_x360();
    ASSERT_EQ(bus_target_add(client, target), BUS_OK);
    Rumble rumble;
    ASSERT_EQ(bus_target_register_notification(client, target, on_rumble, &rumble), BUS_OK);
    ASSERT_TRUE(eventually([&] { return board.read().requests_pended == 2; }));
    const auto start = std::chrono::steady_clock::now();
    bus_target_free(target);
    bus_client_free(client);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(std::ranges::count(logged.lines(), unanswered), 3);
    // The threads left behind stay stuck in the driver until the process ends.
}

}  // namespace
