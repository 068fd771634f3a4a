#include <QSignalSpy>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <iterator>

#include "core_fixture.h"
#include "gamepad/game_impl.h"
#include "gamepad/gamepad.h"
#include "gamepad/gamepad_impl.h"
#include "gamepad/gamepads.h"
#include "support/log_capture.h"

namespace gamepad {
namespace {

using ::testing::ElementsAre;

class GameTest : public CoreTest {
protected:
    GameTest()
        : game(CoreSeams{[this] {
                             ++backends_made;
                             auto made = make_backend({pad_with(three_rows), pad_with(three_rows),
                                                       pad_with(three_rows, false)});
                             made->script_attach(0, 2);
                             return made;
                         },
                         [this] { return make_ticks(); }}) {}

    Game::Impl& core() { return game.impl(); }
    ReadThreadState thread_state() { return core().read_thread()->control().state.load(); }

    int backends_made = 0;
    Game game;
};

TEST_F(GameTest, FirstUseStartsHandlesShareSignalsAndWritersLastReleasePausesNextUseResumes) {
    EXPECT_EQ(backends_made, 0);  // loaded, but nobody uses the core
    EXPECT_EQ(core().read_thread(), nullptr);

    std::unique_ptr<Gamepads> first = core().use();
    std::unique_ptr<Gamepads> second = core().use();
    ReadThread* thread = core().read_thread();
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(backends_made, 1);
    EXPECT_EQ(first->count(), 3u);
    EXPECT_TRUE(first->gamepad(-1) == nullptr && first->gamepad(3) == nullptr);
    EXPECT_EQ(first->gamepad(0)->state(), nullptr);  // before the first delivery
    first->gamepad(0)->impl()->clear_writer(1);      // no metadata yet: nothing to do
    QSignalSpy any_metadata(second.get(), &Gamepads::metadata_changed),
        pad0_metadata(second->gamepad(0), &Gamepad::metadata_changed),
        pad0_connected(first->gamepad(0), &Gamepad::is_connected_changed),
        pad2_connected(first->gamepad(2), &Gamepad::is_connected_changed);
    step();
    // Pad 2 is disconnected from the start.
    EXPECT_THAT((std::array{any_metadata.count(), pad0_metadata.count(), pad0_connected.count(),
                            pad2_connected.count()}),
                ElementsAre(1, 1, 1, 0));
    EXPECT_FALSE(second->gamepad(2)->state()->is_connected);

    QSignalSpy in_first(first->gamepad(1), &Gamepad::attribute_changed),
        in_second(second->gamepad(1), &Gamepad::attribute_changed),
        other_pad(second->gamepad(0), &Gamepad::attribute_changed);
    set_pad(1, [](ScriptedPad& p) { p.values[2] = AttributeValue::make_stick({0, 1, 0}); });
    step();
    EXPECT_THAT((std::array{in_first.count(), in_second.count(), other_pad.count()}),
                ElementsAre(1, 1, 0));
    EXPECT_EQ(in_second.value(0).value(0).value<std::size_t>(), 2u);
    EXPECT_EQ(first->gamepad(1)->state()->values[2].as_stick().x, 1.0);

    // One writer per attribute: the later setting replaces the earlier one from another handle.
    first->gamepad(0)->impl()->set_constant(1, AttributeValue::make_trigger(0.3), in_an_hour);
    second->gamepad(0)->impl()->set_constant(1, AttributeValue::make_trigger(0.25), in_an_hour);
    first.reset();
    EXPECT_EQ(thread_state(), ReadThreadState::Run);
    step();
    EXPECT_EQ(backend->written(0).values[1].as_trigger(), 0.25);

    // Without users the thread pauses, but the virtual pad follows the setting all the same: what
    // was queued runs, and so does what comes later, and no pad is read. The outputs go empty.
    core().set_virtual_gamepad_enabled(true);
    core().set_virtual_gamepad_enabled(false);
    second.reset();  // paused with the attach still queued
    EXPECT_EQ(thread_state(), ReadThreadState::Pause);
    ASSERT_TRUE(ticks->step());  // the thread notices the pause and sleeps
    deliver();                   // the late success sends a detach to the sleeping thread
    std::vector<std::string> told;
    eventually([&] {
        std::ranges::move(backend->take_told(), std::back_inserter(told));
        return told.size() >= 2;
    });
    EXPECT_THAT(told, ElementsAre("attach 0", "detach 2"));
    EXPECT_EQ(backend->written(0).values[1].kind, AttributeValue::Kind::Empty);
    ASSERT_TRUE(ticks->wait_until(ManualTicks::Waiting::Event));

    std::unique_ptr<Gamepads> third = core().use();
    EXPECT_NE(third->gamepad(1)->metadata(), nullptr);  // a late handle sees the views at once
    ASSERT_TRUE(ticks->wait_until(ManualTicks::Waiting::TimerOrEvent));  // one tick at once
    EXPECT_TRUE(core().read_thread() == thread && backends_made == 1);
    EXPECT_EQ(backend->written(0).values[1].as_trigger(), 0.25);
    deliver();

    QSignalSpy changes(third->gamepad(1), &Gamepad::attribute_changed);
    set_pad(1, [](ScriptedPad& p) { p.values[0] = AttributeValue::make_button(true); });
    step();
    EXPECT_EQ(changes.count(), 1);  // one set of connections, not two

    // The attribute moves; the entry follows its id, so clearing it ends the one writer left.
    set_pad(0, [](ScriptedPad& p) {
        std::swap(p.rows[0], p.rows[1]);
        p.metadata_changed = true;
    });
    step();
    EXPECT_EQ(backend->written(0).values[0].as_trigger(), 0.25);
    third->gamepad(0)->impl()->clear_writer(0);
    step();
    EXPECT_EQ(backend->written(0).values[0].kind, AttributeValue::Kind::Empty);
}

// Each row: what happens in turn ("+" the setting on, "-" off, "s" a tick, "f" attaches fail from
// now on, "l" and "e" a late success and a late error of an earlier attach), then the attaches
// and detaches the backend saw and the states the panel was told.
TEST_F(GameTest, VirtualPadFollowsTheSettingAndTheAnswersOfTheThread) {
    using enum VirtualGamepadState;
    std::unique_ptr<Gamepads> panel = core().use();
    std::vector<VirtualGamepadState> told;
    QObject::connect(panel.get(), &Gamepads::virtual_gamepad_state_changed,
                     [&] { told.push_back(panel->virtual_gamepad_state()); });
    const struct {
        const char* actions;
        std::vector<std::string> calls;
        std::vector<VirtualGamepadState> told;
    } rows[] = {
        {"-", {}, {}},
        {"+s", {"attach 0"}, {Connecting, Connected}},
        {"+l-s", {"detach 2"}, {Disabled}},
        // Off while the attach is in flight: its late success is taken down again.
        {"+-ss", {"attach 0", "detach 2"}, {Connecting, Disabled}},
        // Off and on again: the second attach replaces the first pad, whose answer changes nothing.
        {"+-+ss",
         {"attach 0", "detach 2", "attach 0"},
         {Connecting, Disabled, Connecting, Connected}},
        {"-s", {"detach 2"}, {Disabled}},
        // A failure stays until the setting goes off; off while connecting swallows it, and so
        // does a newer attach.
        {"f+s+s", {"attach 0"}, {Connecting, Error}},
        {"-", {}, {Disabled}},
        {"+-s", {"attach 0"}, {Connecting, Disabled}},
        {"+e", {}, {Connecting}},
        {"s", {"attach 0"}, {Error}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.actions);
        for (const char action : std::string_view(row.actions)) {
            if (action == '+' || action == '-') core().set_virtual_gamepad_enabled(action == '+');
            if (action == 's') step();
            if (action == 'f') backend->script_attach(3, 0);
            if (action == 'l') core().on_attach_success(2, 0);
            if (action == 'e') core().on_attach_error("late", 1);
        }
        EXPECT_EQ(backend->take_told(), row.calls);
        EXPECT_EQ(std::exchange(told, {}), row.told);
        const VirtualGamepadState state = panel->virtual_gamepad_state();
        EXPECT_EQ(panel->virtual_gamepad_index(), state == Connected ? 2 : -1);
        EXPECT_EQ(panel->virtual_gamepad_error(), state == Error ? "error 3" : "");
    }
}

// A timer or wake-up event that the system would not make: no thread runs, whatever the users
// do, the core stays paused with one warning, and it ends without waiting on anything.
TEST_F(GameTest, ATickSourceThatCannotBeMadeLeavesTheCorePausedWithOneWarning) {
    const testsupport::LogCapture logged;
    Game refused(CoreSeams{[this] { return make_backend({pad_with(three_rows)}); },
                           [this] {
                               std::unique_ptr<ManualTicks> made = make_ticks();
                               made->refuse();
                               return made;
                           }});
    Game::Impl& impl = refused.impl();
    for (int round = 0; round < 2; ++round) {
        std::unique_ptr<Gamepads> user = impl.use();
        impl.set_virtual_gamepad_enabled(true);
        EXPECT_FALSE(impl.read_thread()->isRunning());
        EXPECT_EQ(impl.read_thread()->control().state.load(), ReadThreadState::Pause);
        impl.set_virtual_gamepad_enabled(false);
    }
    EXPECT_THAT(logged.lines(),
                ElementsAre("warning Gamepad: could not create the polling timer - gamepads are "
                            "not read"));
}

}  // namespace
}  // namespace gamepad
