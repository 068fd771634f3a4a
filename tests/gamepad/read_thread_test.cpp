#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <random>

#include "core_fixture.h"
#include "gamepad/constant_writer.h"
#include "gamepad/feed_writer.h"
#include "gamepad/noise_writer.h"
#include "support/allocation_counter.h"
#include "support/log_capture.h"
#include "support/random_seed.h"

namespace gamepad {
namespace {

using ::testing::ElementsAre;

class ReadThreadTest : public CoreTest {
protected:
    void start(std::vector<ScriptedPad> pads, std::int32_t rate = 240) {
        thread = std::make_unique<ReadThread>(&own_backend(std::move(pads)), make_ticks());
        log = std::make_unique<SignalLog>(*thread);
        thread->control().rate.store(rate);
        thread->start();
    }

    std::unique_ptr<ReadThread> thread;
    std::unique_ptr<SignalLog> log;
};

// The first tick publishes every pad, later ones only what changed. A delivery collects every pad
// before it tells anything.
TEST_F(ReadThreadTest, TicksPublishWhatChangedAndAMetadataChangeCarriesValuesOverById) {
    ScriptedPad pressed = pad_with(three_rows);
    pressed.values[0] = AttributeValue::make_button(true);
    start({pressed, pad_with(three_rows, false)});
    bool pad1_known_at_metadata0 = false;
    QObject::connect(
        thread.get(), &ReadThread::gamepad_metadata_changed, log.get(), [&](std::size_t i) {
            if (i == 0) {
                pad1_known_at_metadata0 = thread->exchange(1).metadata_view() != nullptr;
            }
        });
    step();
    EXPECT_THAT(log->take(), ElementsAre("changed 0", "metadata 0", "connected 0", "changed 1",
                                         "metadata 1", "attribute 0 0", "any"));
    EXPECT_TRUE(pad1_known_at_metadata0);
    EXPECT_FALSE(thread->exchange(1).state_view()->is_connected);
    EXPECT_EQ(thread->exchange(0).metadata_view()->attributes[2].label, "label s");

    set_pad(1, [](ScriptedPad& p) {
        p.connected = true;
        p.values[2] = AttributeValue::make_stick({0.1, 0.9, 0.0});
        p.values[1] = AttributeValue::make_trigger(0.5);
    });
    backend->script_attach(0, 2);
    thread->push_command(AttachVirtualGamepad{0, 2});
    thread->push_command(AttachVirtualGamepad{0, 3});  // before the detach of the one before
    thread->push_command(DetachVirtualGamepad{2, 2});  // replaced already
    step();
    EXPECT_THAT(backend->take_told(), ElementsAre("attach 0", "detach 2", "attach 0"));
    EXPECT_THAT(log->take(),
                ElementsAre("changed 1", "connected 1", "attribute 1 1", "attribute 1 2",
                            "attach success 2 2", "attach success 2 3"));

    // A metadata change carries the values over by id, so that only real changes are told.
    const testsupport::LogCapture logged;
    set_pad(0, [](ScriptedPad& p) {  // same attributes and values, another order
        std::swap(p.rows[0], p.rows[1]);
        std::swap(p.values[0], p.values[1]);
        p.rows.push_back({"new", AttributeType::Button, AttributeDirection::Input});
        p.values.push_back(AttributeValue::make_button(false));
        p.metadata_changed = true;
    });
    step();
    EXPECT_THAT(log->take(), ElementsAre("changed 0", "metadata 0", "any"));
    EXPECT_THAT(logged.lines(),
                ElementsAre("debug Gamepad: updated metadata of gamepad 0 with 4 attributes"));
    const GamepadMetadata& metadata = *thread->exchange(0).metadata_view();
    ASSERT_EQ(metadata.attributes.size(), 4u);
    EXPECT_EQ(metadata.attributes[0].id, "t");
    EXPECT_TRUE(thread->exchange(0).state_view()->values[1].as_button());
}

// Writers hold pad 0's button: the later one wins, an ended or removed one writes no more, and a
// metadata change finds the button where it moved.
TEST_F(ReadThreadTest, WritersApplyInArrivalOrderUntilRemovedOrEnded) {
    start({pad_with(three_rows)});
    const auto hold = [&](bool pressed, std::int64_t until = in_an_hour) {
        return thread->add_writer(
            std::make_unique<ConstantWriter>(0, "a", AttributeValue::make_button(pressed), until));
    };
    const auto written = [&](std::size_t row = 0) { return backend->written(0).values[row]; };
    const std::uint64_t first = hold(true);
    step();
    EXPECT_TRUE(written().as_button());
    const std::uint64_t second = hold(false);
    hold(true, platform::monotonic_now_ns());  // ended already
    step();
    EXPECT_EQ(written().kind, AttributeValue::Kind::Button);
    EXPECT_FALSE(written().as_button());
    thread->push_command(RemoveWriter{second});
    thread->push_command(RemoveWriter{999});
    set_pad(0, [](ScriptedPad& p) {
        std::swap(p.rows[0], p.rows[1]);
        p.metadata_changed = true;
    });
    step();
    EXPECT_TRUE(written(1).as_button());
    thread->push_command(RemoveWriter{first});
    step();
    EXPECT_EQ(written(1).kind, AttributeValue::Kind::Empty);
}

// Two pads while the main thread is held up: buttons pressed and released, rows reordered, pads
// unplugged and plugged again, and now and then a delivery that Qt throws away undelivered. Each
// transition whose attribute the pad still has reaches the users once, in the order it happened
// across both pads, with its own value at the attribute of its id; the views end right.
TEST_F(ReadThreadTest, StalledTransitionsSurviveMetadataChangesAndLostDeliveriesInOrderAcrossPads) {
    const std::uint64_t seed = testsupport::random_seed();
    const std::string replay = "ZEST_RANDOM_SEED=" + std::to_string(seed);
    SCOPED_TRACE(replay);
    std::mt19937_64 random(seed);
    const std::vector<AttributeInfo> rows{{"a", AttributeType::Button, AttributeDirection::Input},
                                          {"b", AttributeType::Button, AttributeDirection::Input}};
    start({pad_with(rows), pad_with(rows)});
    step();
    const auto said = [](std::size_t pad, const QByteArray& id, bool down) {
        return std::to_string(pad) + " " + id.toStdString() + (down ? " down" : " up");
    };
    std::vector<std::string> told;
    QObject::connect(thread.get(), &ReadThread::gamepad_attribute_changed, log.get(),
                     [&](std::size_t pad, std::size_t a) {
                         const GamepadExchange& e = thread->exchange(pad);
                         told.push_back(said(pad, e.metadata_view()->attributes[a].id,
                                             e.state_view()->values[a].as_button()));
                     });
    struct Pad {
        bool plugged = true, reversed = false, down[2] = {};  // down: by row of `rows`
    } pads[2];
    std::vector<std::string> happened;
    bool lost_last = false;
    for (int hold = 0; hold < 80; ++hold) {
        // After a lost delivery, a tick with nothing new must post what was lost again.
        if (lost_last) {
            ASSERT_TRUE(ticks->step());
        }
        for (std::size_t tick = lost_last && random() % 2 == 0 ? 0 : random() % 8; tick > 0;
             --tick) {
            const std::size_t p = random() % 2;
            Pad& pad = pads[p];
            const std::size_t row = random() % 2;
            const std::uint64_t action = random() % 6;
            // Unplugged only with nothing held, so plugged again with nothing.
            const bool reorder = action == 0 && pad.plugged;
            const bool unplug = action == 1 && !(pad.down[0] || pad.down[1]);
            if (reorder) pad.reversed = !pad.reversed;
            if (unplug) pad.plugged = !pad.plugged;
            if (!reorder && !unplug && pad.plugged) {
                pad.down[row] = !pad.down[row];
                happened.push_back(said(p, rows[row].id, pad.down[row]));
            }
            set_pad(p, [&](ScriptedPad& s) {
                s.connected = pad.plugged;
                s.rows = pad.plugged ? rows : std::vector<AttributeInfo>{};
                if (pad.reversed) std::reverse(s.rows.begin(), s.rows.end());
                s.values.clear();
                for (const AttributeInfo& info : s.rows)
                    s.values.push_back(AttributeValue::make_button(pad.down[info.id[0] - 'a']));
                s.metadata_changed = s.metadata_changed || reorder || unplug;
            });
            ASSERT_TRUE(ticks->step());
        }
        lost_last = !lost_last && random() % 4 == 0;
        if (lost_last) {
            QCoreApplication::removePostedEvents(thread.get());
            continue;
        }
        deliver();
        // A pad that ends the stall unplugged has no attribute left to tell them at.
        std::erase_if(happened, [&](const std::string& t) { return !pads[t[0] - '0'].plugged; });
        ASSERT_EQ(told, happened) << "hold " << hold;
        told.clear();
        happened.clear();
        for (std::size_t p = 0; p < 2; ++p) {
            const GamepadExchange& e = thread->exchange(p);
            const auto& attributes = e.metadata_view()->attributes;
            ASSERT_EQ(attributes.size(), pads[p].plugged ? 2u : 0u);
            for (std::size_t a = 0; a < attributes.size(); ++a)
                EXPECT_EQ(e.state_view()->values[a].as_button(),
                          pads[p].down[attributes[a].id[0] - 'a']);
        }
    }
}

// A user that runs a nested event loop inside a delivery, as a host showing a dialog does, keeps
// the view it was given; what came meanwhile is told once that delivery is over, in order.
TEST_F(ReadThreadTest, ANestedEventLoopInADeliveryDefersWhatCameMeanwhile) {
    start({pad_with(three_rows)});
    step();
    std::vector<bool> told;
    const auto button = [&] { return thread->exchange(0).state_view()->values[0].as_button(); };
    const auto press = [&](bool pressed) {
        set_pad(0, [&](ScriptedPad& p) { p.values[0] = AttributeValue::make_button(pressed); });
        EXPECT_TRUE(ticks->step());
    };
    QObject::connect(thread.get(), &ReadThread::gamepad_attribute_changed, log.get(),
                     [&](std::size_t, std::size_t) {
                         told.push_back(button());
                         if (told.size() != 1) return;
                         press(false);
                         press(true);
                         deliver();
                         told.push_back(button());
                     });
    press(true);
    deliver();
    EXPECT_THAT(told, ElementsAre(true, true, false, true));
}

// Sticks moving on every tick under a writer of each kind while the main thread collects every 1st,
// 2nd, 3rd or 8th publication, or none for the whole run: the polling thread allocates nothing,
// and what waits for the main thread is one delivery however long it was held up, which tells a
// moved stick once. Steady ticks then publish and emit nothing.
TEST_F(ReadThreadTest, ThePollingThreadAllocatesNothingHoweverTheDeliveriesLag) {
    std::vector<AttributeInfo> rows;
    for (int i = 0; i < 23; ++i)
        rows.push_back(three_rows[static_cast<std::size_t>(i % 3)]);
    rows.push_back({"m", AttributeType::Motor, AttributeDirection::Output});
    start({pad_with(rows), pad_with(rows), pad_with(rows), pad_with(rows)}, 1000);
    constexpr std::int64_t forever = std::numeric_limits<std::int64_t>::max();
    thread->add_writer(std::make_unique<FeedWriter>(0, 1));
    for (const char* id : {"a", "t", "s"})
        thread->add_writer(std::make_unique<NoiseWriter>(2, id, 1.0, 0.5, 10.0, forever));
    thread->add_writer(
        std::make_unique<ConstantWriter>(3, "t", AttributeValue::make_trigger(0.5), forever));
    int tick = 0;
    const auto move_every_pad = [&] {
        ++tick;
        backend->edit([&](std::vector<ScriptedPad>& pads) {
            for (ScriptedPad& pad : pads) {
                pad.values[0] = AttributeValue::make_button(tick % 2 == 0);
                pad.values[2] = AttributeValue::make_stick({0.0, (tick % 100) / 100.0, 0.0});
            }
        });
    };
    for (int i = 0; i < 8; ++i) {  // warm: every record has seen every size
        move_every_pad();
        step();
    }
    log->take();
    constexpr int ticks_per_run = 10000;
    for (const int every : {1, 2, 3, 8, ticks_per_run, 0}) {
        testsupport::AllocationCounter allocations(backend->reader());
        for (int i = 1; i <= ticks_per_run; ++i) {
            if (every != 0) move_every_pad();  // 0: steady, delivering each tick
            ASSERT_TRUE(ticks->step());
            if (every == 0 || i % every == 0) deliver();
        }
        const bool counted = testsupport::AllocationCounter::supported();
        EXPECT_EQ(counted ? allocations.count() : 0u, 0u) << "every " << every;
        const std::vector<std::string> signals = log->take();
        const int delivered = every == 0 ? 0 : ticks_per_run / every;
        EXPECT_EQ(std::ranges::count(signals, "changed 3"), delivered) << every;
        // The stick moves on by a hundredth a tick, so a run of whole laps has nothing to tell.
        EXPECT_EQ(std::ranges::count(signals, "attribute 3 2"),
                  every == ticks_per_run ? 0 : delivered)
            << every;
        EXPECT_TRUE(every != 0 || signals.empty());
    }
    EXPECT_EQ(backend->written(3).values[1].as_trigger(), 0.5);  // the first "t"
}

}  // namespace
}  // namespace gamepad
