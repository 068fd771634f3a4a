#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>

#include "backend/bus/bus_client.h"
#include "backend/bus/bus_requests.h"
#include "support/log_capture.h"
#include "windows/mapped_board.h"

// Our bus client against the bench's bus driver under Wine (bench.sh runs it): what the client
// sends shows on the pad board, and what the board says comes back through the driver.

namespace {

// What the client heard of the motors: the last pair and how many.
struct Rumble {
    std::atomic<int> calls{0}, large{-1}, small{-1};
    static void heard(BusClient*, BusTarget*, std::uint8_t large, std::uint8_t small, std::uint8_t,
                      void* rumble) {
        static_cast<Rumble*>(rumble)->large = large;
        static_cast<Rumble*>(rumble)->small = small;
        ++static_cast<Rumble*>(rumble)->calls;
    }
};

class BusDriver : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(board, nullptr) << "no pad board: run under the bench"; }

    // The target pad of the board that holds `serial`, or -1.
    int slot_of(std::uint32_t serial) const {
        for (unsigned slot = ZEST_BOARD_FIRST_TARGET; slot < ZEST_BOARD_PADS; ++slot) {
            if (pad(slot).kind == ZEST_BOARD_TARGET && pad(slot).serial == serial) return slot;
        }
        return -1;
    }
    zest_board_pad pad(unsigned slot) const {
        zest_board_pad copy{};
        zest_board_read_pad(board, slot, &copy);
        return copy;
    }
    std::uint32_t plugged() const { return ZEST_BOARD_LOAD(board->targets_plugged); }
    std::uint32_t pended() const { return ZEST_BOARD_LOAD(board->requests_pended); }
    long warnings() const {
        return std::ranges::count(
            logged.lines(),
            "warning Gamepad: the bus driver did not answer in time; leaving without waiting");
    }
    void set_faults(zest_board_faults faults) const { zest_board_set_faults(board, &faults); }
    static BusClient* connected_client() {
        BusClient* client = bus_client_alloc();
        EXPECT_EQ(bus_client_connect(client), BUS_OK);
        return client;
    }

    const testsupport::LogCapture logged;
    const MappedBoard mapped;
    zest_board* const board = mapped.get();
};

TEST_F(BusDriver, TheClientPlugsFeedsHearsRumbleAndUnplugsThroughTheBoard) {
    BusClient* client = connected_client();
    BusTarget* target = bus_target_alloc_x360();
    ASSERT_EQ(bus_target_add(client, target), BUS_OK);
    const int slot = slot_of(target->serial);
    ASSERT_EQ(slot, static_cast<int>(ZEST_BOARD_FIRST_TARGET));
    EXPECT_EQ(plugged(), 1u);

    // Each report lands on the board as sent, under a new sequence number.
    const BusX360Report report{0x1000, 200, 7, -1234, 32767, -32768, 5};
    const std::uint32_t sequence = pad(slot).sequence;
    ASSERT_EQ(bus_target_update_x360(client, target, report), BUS_OK);
    const zest_board_pad fed = pad(slot);
    EXPECT_GT(fed.sequence, sequence);
    EXPECT_EQ(std::memcmp(&fed.buttons, &report, sizeof report), 0);

    // Motors set on the pad complete the pended notification, one per rumble.
    Rumble rumble;
    ASSERT_EQ(bus_target_register_notification(client, target, Rumble::heard, &rumble), BUS_OK);
    for (const auto& [large, small] : {std::pair(30000, 20000), std::pair(0, 65535)}) {
        const int calls = rumble.calls + 1;
        zest_board_set_motors(&board->pads[slot], large, small);
        ASSERT_TRUE(eventually_on_board([&] { return rumble.calls == calls; }));
        EXPECT_EQ(rumble.large, large >> 8);
        EXPECT_EQ(rumble.small, small >> 8);
    }

    // A taken serial is refused, so another client gets the next one; the bus takes that one
    // back when its handle closes.
    BusClient* other = connected_client();
    BusTarget* other_target = bus_target_alloc_x360();
    ASSERT_EQ(bus_target_add(other, other_target), BUS_OK);
    EXPECT_EQ(other_target->serial, target->serial + 1);
    EXPECT_EQ(slot_of(other_target->serial), slot + 1);
    EXPECT_EQ(plugged(), 2u);
    bus_client_free(other);
    bus_target_free(other_target);
    EXPECT_TRUE(eventually_on_board([&] { return plugged() == 1; }));
    EXPECT_EQ(pad(slot + 1).kind, ZEST_BOARD_EMPTY);

    // Refused at once with the status the test chose, as often as it chose.
    set_faults({BUS_IOCTL_SUBMIT_X360_REPORT, 0xC0000022 /* access denied */, 2, 0, 0, {}});
    EXPECT_EQ(bus_target_update_x360(client, target, report), BUS_ERROR_INVALID_TARGET);
    EXPECT_EQ(bus_target_update_x360(client, target, report), BUS_ERROR_INVALID_TARGET);
    EXPECT_EQ(bus_target_update_x360(client, target, report), BUS_OK);
    set_faults({BUS_IOCTL_UNPLUG_TARGET, 0xC0000001 /* unsuccessful */, 0xFFFFFFFF, 0, 0, {}});
    EXPECT_EQ(bus_target_remove(client, target), BUS_ERROR_REMOVAL_FAILED);
    EXPECT_EQ(slot_of(target->serial), slot);
    set_faults({});

    // The unplug empties the pad and ends the notification request; nothing is left waiting.
    EXPECT_EQ(bus_target_remove(client, target), BUS_OK);
    EXPECT_EQ(pad(slot).kind, ZEST_BOARD_EMPTY);
    EXPECT_EQ(plugged(), 0u);
    bus_target_free(target);
    bus_client_free(client);
    EXPECT_TRUE(eventually_on_board([&] { return pended() == 0; }));
    EXPECT_EQ(warnings(), 0);
}

// A driver that ignores cancellation holds the client's way out only for the bounded wait, with
// one warning per thread it leaves behind. (Cancels the driver honours end the first case.)
TEST_F(BusDriver, ARequestTheDriverHoldsCostsTheClientOnlyItsBoundedWait) {
    set_faults({0, 0, 0, 1 /* ignore cancel */, 0, {}});
    BusClient* client = connected_client();
    BusTarget* target = bus_target_alloc_x360();
    ASSERT_EQ(bus_target_add(client, target), BUS_OK);
    Rumble rumble;
    ASSERT_EQ(bus_target_register_notification(client, target, Rumble::heard, &rumble), BUS_OK);
    ASSERT_TRUE(eventually_on_board([&] { return pended() == 2; }));
    const auto start = std::chrono::steady_clock::now();
    bus_target_free(target);
    bus_client_free(client);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_EQ(warnings(), 2);
    // The threads left behind stay stuck in the driver until the process ends.
}

}  // namespace
