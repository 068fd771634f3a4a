#include <QSignalSpy>

#include <gmock/gmock.h>

#include "core_fixture.h"
#include "gamepad/game_impl.h"
#include "gamepad/gamepad.h"
#include "gamepad/gamepad_impl.h"
#include "gamepad/gamepads.h"
#include "platform/monotonic_clock.h"
#include "support/eventually.h"

namespace gamepad {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = VirtualGamepadState;

constexpr std::int64_t one_hour_ns = 3'600'000'000'000;

class GameTest : public ::testing::Test {
protected:
    GameTest()
        : game(CoreSeams{[this] {
                             ++backends_made;
                             auto made = std::make_unique<ScriptedBackend>(std::vector<ScriptedPad>{
                                 pad_with(three_rows), pad_with(three_rows),
                                 pad_with(three_rows, false)});
                             made->script_attach(0, 2);
                             backend = made.get();
                             return made;
                         },
                         [this] {
                             auto made = std::make_unique<ManualTicks>();
                             ticks = made.get();
                             return made;
                         }}) {}

    Game::Impl& core() { return game.impl(); }
    void step() {
        ASSERT_TRUE(ticks->step());
        deliver();
    }
    // Backend operations other than the reads and writes of every tick.
    std::vector<std::string> commands_seen() {
        std::vector<std::string> seen;
        for (std::string& call : backend->take_calls()) {
            if (call.rfind("attach", 0) == 0 || call.rfind("detach", 0) == 0) seen.push_back(call);
        }
        return seen;
    }
    void set_pad(std::size_t pad, const std::function<void(ScriptedPad&)>& change) {
        backend->edit([&](std::vector<ScriptedPad>& pads) { change(pads[pad]); });
    }
    ReadThreadState thread_state() { return core().read_thread()->control().state.load(); }

    int backends_made = 0;
    ScriptedBackend* backend = nullptr;
    ManualTicks* ticks = nullptr;
    Game game;
};

TEST_F(GameTest, FirstUseStartsLastReleasePausesNextUseResumesTheSameThread) {
    core().set_update_rate(500);
    EXPECT_EQ(backends_made, 0);  // loaded, but nobody uses the core
    EXPECT_EQ(core().read_thread(), nullptr);

    std::unique_ptr<Gamepads> first = core().use();
    std::unique_ptr<Gamepads> second = core().use();
    ReadThread* thread = core().read_thread();
    ASSERT_NE(thread, nullptr);
    EXPECT_EQ(backends_made, 1);
    EXPECT_EQ(core().use_count(), 2u);
    step();
    EXPECT_THAT(ticks->armed(), ElementsAre(2));  // the rate set before the start

    first.reset();
    EXPECT_EQ(thread_state(), ReadThreadState::Run);
    second->gamepad(0)->impl()->set_constant(1, AttributeValue::make_trigger(0.25),
                                             platform::monotonic_now_ns() + one_hour_ns);
    second.reset();
    EXPECT_EQ(thread_state(), ReadThreadState::Pause);
    ASSERT_TRUE(ticks->step());  // the thread notices the pause and sleeps
    ASSERT_TRUE(ticks->wait_until(ManualTicks::Waiting::Event));
    backend->take_calls();
    EXPECT_EQ(backend->written(0).values[1].kind, AttributeValue::Kind::Empty);  // never ran

    std::unique_ptr<Gamepads> third = core().use();
    ASSERT_TRUE(ticks->wait_until(ManualTicks::Waiting::TimerOrEvent));  // one tick at once
    EXPECT_EQ(core().read_thread(), thread);
    EXPECT_EQ(backends_made, 1);
    EXPECT_EQ(backend->written(0).values[1].as_trigger(), 0.25);  // the waiting command ran
    deliver();

    QSignalSpy changes(third->gamepad(1), &Gamepad::attribute_changed);
    set_pad(1, [](ScriptedPad& p) { p.values[0] = AttributeValue::make_button(true); });
    step();
    ASSERT_EQ(changes.count(), 1);  // one set of connections, not two
    EXPECT_EQ(changes[0][0].value<std::size_t>(), 0u);
}

TEST_F(GameTest, EveryHandleOfAPadHearsItsSignalsAndSeesTheViews) {
    std::unique_ptr<Gamepads> one = core().use();
    std::unique_ptr<Gamepads> two = core().use();
    EXPECT_EQ(one->count(), 3u);
    EXPECT_EQ(one->gamepad(-1), nullptr);
    EXPECT_EQ(one->gamepad(3), nullptr);
    ASSERT_NE(one->gamepad(0), nullptr);
    EXPECT_EQ(one->gamepad(0)->metadata(), nullptr);  // before the first delivery
    EXPECT_EQ(one->gamepad(0)->state(), nullptr);

    QSignalSpy any_metadata(two.get(), &Gamepads::metadata_changed);
    QSignalSpy pad0_metadata(two->gamepad(0), &Gamepad::metadata_changed);
    QSignalSpy pad0_connected(one->gamepad(0), &Gamepad::is_connected_changed);
    QSignalSpy pad2_connected(one->gamepad(2), &Gamepad::is_connected_changed);
    step();
    EXPECT_EQ(any_metadata.count(), 1);
    EXPECT_EQ(pad0_metadata.count(), 1);
    EXPECT_EQ(pad0_connected.count(), 1);
    EXPECT_EQ(pad2_connected.count(), 0);  // disconnected from the start
    ASSERT_NE(two->gamepad(2)->metadata(), nullptr);
    EXPECT_EQ(two->gamepad(2)->metadata()->attributes.size(), 3u);
    EXPECT_FALSE(two->gamepad(2)->state()->is_connected);

    QSignalSpy in_one(one->gamepad(1), &Gamepad::attribute_changed);
    QSignalSpy in_two(two->gamepad(1), &Gamepad::attribute_changed);
    QSignalSpy other_pad(two->gamepad(0), &Gamepad::attribute_changed);
    set_pad(1, [](ScriptedPad& p) { p.values[2] = AttributeValue::make_stick({0, 1, 0}); });
    step();
    ASSERT_EQ(in_one.count(), 1);
    ASSERT_EQ(in_two.count(), 1);
    EXPECT_EQ(in_two[0][0].value<std::size_t>(), 2u);
    EXPECT_EQ(other_pad.count(), 0);
    EXPECT_EQ(one->gamepad(1)->state()->values[2].as_stick().x, 1.0);

    std::unique_ptr<Gamepads> late = core().use();  // sees the views at once
    EXPECT_NE(late->gamepad(1)->metadata(), nullptr);
}

TEST_F(GameTest, VirtualPadFollowsTheSettingAndTheAnswersOfTheThread) {
    std::unique_ptr<Gamepads> panel = core().use();
    QSignalSpy changes(panel.get(), &Gamepads::virtual_gamepad_state_changed);
    core().set_virtual_gamepad_enabled(false);
    EXPECT_EQ(changes.count(), 0);  // already Disabled

    core().set_virtual_gamepad_enabled(true);
    EXPECT_EQ(panel->virtual_gamepad_state(), State::Connecting);
    step();
    EXPECT_THAT(commands_seen(), ElementsAre("attach 0"));
    EXPECT_EQ(panel->virtual_gamepad_state(), State::Connected);
    EXPECT_EQ(panel->virtual_gamepad_index(), 2);
    core().set_virtual_gamepad_enabled(true);  // in line already
    core().on_attach_success(2, 0);            // a late answer while Connected: the pad stays
    core().set_virtual_gamepad_enabled(false);
    EXPECT_EQ(panel->virtual_gamepad_index(), -1);
    step();
    EXPECT_THAT(commands_seen(), ElementsAre("detach 2"));
    EXPECT_EQ(changes.count(), 3);  // Connecting, Connected, Disabled

    // Off while the attach is in flight: the late success is taken down again.
    core().set_virtual_gamepad_enabled(true);
    core().set_virtual_gamepad_enabled(false);
    step();
    step();
    EXPECT_THAT(commands_seen(), ElementsAre("attach 0", "detach 2"));
    EXPECT_EQ(panel->virtual_gamepad_state(), State::Disabled);

    // Off and on again while it is in flight: the second attach replaces the first pad, whose
    // late answer changes nothing.
    core().set_virtual_gamepad_enabled(true);
    core().set_virtual_gamepad_enabled(false);
    core().set_virtual_gamepad_enabled(true);
    step();
    step();
    EXPECT_THAT(commands_seen(), ElementsAre("attach 0", "detach 2", "attach 0"));
    EXPECT_EQ(panel->virtual_gamepad_state(), State::Connected);
    core().set_virtual_gamepad_enabled(false);
    step();
    EXPECT_THAT(commands_seen(), ElementsAre("detach 2"));

    // A failure stays until the setting goes off; off while connecting swallows it, and so does
    // a newer attach.
    backend->script_attach(3, 0);
    changes.clear();
    core().set_virtual_gamepad_enabled(true);
    step();
    EXPECT_EQ(panel->virtual_gamepad_state(), State::Error);
    EXPECT_EQ(panel->virtual_gamepad_error(), "error 3");
    core().set_virtual_gamepad_enabled(true);
    step();
    EXPECT_THAT(commands_seen(), ElementsAre("attach 0", "attach_error_text 3"));
    core().set_virtual_gamepad_enabled(false);
    EXPECT_TRUE(panel->virtual_gamepad_error().isEmpty());
    core().set_virtual_gamepad_enabled(true);
    core().set_virtual_gamepad_enabled(false);
    step();
    EXPECT_THAT(commands_seen(), ElementsAre("attach 0", "attach_error_text 3"));
    EXPECT_EQ(panel->virtual_gamepad_state(), State::Disabled);
    EXPECT_TRUE(panel->virtual_gamepad_error().isEmpty());
    core().set_virtual_gamepad_enabled(true);
    core().on_attach_error("late", 1);
    EXPECT_EQ(panel->virtual_gamepad_state(), State::Connecting);
    step();
    EXPECT_EQ(panel->virtual_gamepad_state(), State::Error);
    EXPECT_EQ(changes.count(), 7);  // Connecting, Error, Disabled, Connecting, Disabled, and again
                                    // Connecting, Error
}

// Without users the thread pauses, but the virtual pad follows the setting all the same: what
// was queued runs, and so does what comes later, and no pad is read. The outputs go empty.
TEST_F(GameTest, APausedCoreStillFollowsTheSettingWithoutPolling) {
    std::unique_ptr<Gamepads> panel = core().use();
    step();
    panel->gamepad(0)->impl()->set_constant(1, AttributeValue::make_trigger(0.5),
                                            platform::monotonic_now_ns() + one_hour_ns);
    step();
    EXPECT_EQ(backend->written(0).values[1].as_trigger(), 0.5);
    backend->take_calls();
    core().set_virtual_gamepad_enabled(true);
    core().set_virtual_gamepad_enabled(false);
    panel.reset();  // paused with the attach still queued
    ASSERT_TRUE(ticks->step());
    deliver();  // its late success sends a detach to the sleeping thread
    EXPECT_THAT(take_calls(*backend, 5), ElementsAre("write_gamepad 0", "write_gamepad 1",
                                                     "write_gamepad 2", "attach 0", "detach 2"));
    EXPECT_EQ(backend->written(0).values[1].kind, AttributeValue::Kind::Empty);
    EXPECT_EQ(thread_state(), ReadThreadState::Pause);
}

TEST_F(GameTest, OneWriterPerAttributeAndOneFeedPerPad) {
    std::unique_ptr<Gamepads> node_a = core().use();
    std::unique_ptr<Gamepads> node_b = core().use();
    Game::GamepadImpl* pad0 = node_a->gamepad(0)->impl();
    pad0->clear_writer(1);  // no metadata yet: nothing to do
    step();
    const std::int64_t later = platform::monotonic_now_ns() + one_hour_ns;
    pad0->set_constant(1, AttributeValue::make_trigger(0.3), later);
    node_b->gamepad(0)->impl()->set_constant(1, AttributeValue::make_trigger(0.7), later);
    step();
    EXPECT_EQ(backend->written(0).values[1].as_trigger(), 0.7);

    // The attribute moves; the entry follows its id, so clearing it ends the one writer left.
    set_pad(0, [](ScriptedPad& p) {
        std::swap(p.rows[0], p.rows[1]);
        p.metadata_changed = true;
    });
    step();
    EXPECT_EQ(backend->written(0).values[0].as_trigger(), 0.7);
    pad0->clear_writer(0);
    step();
    EXPECT_EQ(backend->written(0).values[0].kind, AttributeValue::Kind::Empty);

    Game::GamepadImpl* target = node_a->gamepad(1)->impl();
    set_pad(0, [](ScriptedPad& p) { p.values[1] = AttributeValue::make_button(true); });
    target->set_feed_source(0);
    target->set_feed_source(0);
    step();
    EXPECT_TRUE(backend->written(1).values[0].as_button());
    target->set_feed_source(2);  // a disconnected source: the feed waits, the old one is gone
    step();
    EXPECT_EQ(backend->written(1).values[0].kind, AttributeValue::Kind::Empty);
    target->set_feed_source(-1);
    EXPECT_EQ(target->feed_source(), -1);
}

}  // namespace
}  // namespace gamepad
