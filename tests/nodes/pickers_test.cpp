#include <QCoreApplication>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "backend/attribute_info.h"
#include "gamepad/game_impl.h"
#include "hostapi/host_wrappers.h"
#include "kit/kit.h"
#include "kit/panel.h"
#include "kit/store.h"
#include "nodes/pickers.h"
#include "pluginstate/attribute_ids.h"
#include "pluginstate/plugin_state.h"
#include "support/kit_fixture.h"
#include "support/manual_ticks.h"
#include "support/scripted_backend.h"

namespace {

using gamepad::AttributeInfo;
using gamepad::AttributeType;
using enum gamepad::AttributeType;
using enum gamepad::AttributeDirection;
using gamepad::GamepadCapabilities;
using gamepad::GamepadCapability;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testsupport::ScriptedPad;
using Entry = std::pair<std::string, int>;
using GamepadPicker = int (*)(ZestPanel, PickerLabels&, PickerValues&, const gamepad::Gamepads&,
                              AttributeType);
using AttributePicker = int (*)(ZestPanel, const AttributeQuery&);

const GamepadCapabilities physical = GamepadCapability::InputRead | GamepadCapability::OutputWrite;
const GamepadCapabilities all_caps =
    physical | GamepadCapability::InputWrite | GamepadCapability::OutputRead;

constexpr AttributeInfo button_a{"button_a", Button, Input};
constexpr AttributeInfo button_b{"button_b", Button, Input};
constexpr AttributeInfo button_x{"button_x", Button, Input};
constexpr AttributeInfo trigger_left{"trigger_left", Trigger, Input};
constexpr AttributeInfo stick_left{"stick_left", Stick, Input};
constexpr AttributeInfo motor_large{"motor_large", Motor, Output};
constexpr AttributeInfo motor_small{"motor_small", Motor, Output};
// Every type, a trigger twice and the buttons apart, so that ids and positions differ.
const std::vector<AttributeInfo> all_rows{button_a,    trigger_left, stick_left,  button_b,
                                          motor_large, trigger_left, motor_small, button_x};

// Values read as zero: the scripted backend sizes them by the rows.
ScriptedPad pad(const char* name, GamepadCapabilities capabilities, std::vector<AttributeInfo> rows,
                bool connected = true) {
    return {connected, name, capabilities, std::move(rows), {}};
}

// Owns `made` and leaves `seen` on it, for a seam of the core.
template <typename T>
std::unique_ptr<T> kept(T*& seen, T* made) {
    seen = made;
    return std::unique_ptr<T>(made);
}

// What one pick showed and gave back.
struct Picked {
    std::vector<Entry> entries;
    std::vector<int> values;
    int returned = 0;
};

class PickersTest : public KitTest {
protected:
    void SetUp() override {
        KitTest::SetUp();
        plugin_host_handle = hostkit::host_handle();
        ASSERT_TRUE(hostkit::load_translations(ZEST_ENGLISH_TABLE));
    }

    void TearDown() override {
        pads.reset();  // a user of the core goes before the core
        state.reset();
        plugin_state = nullptr;
        EXPECT_THAT(hostkit::check(), IsEmpty());  // labels a picker made and never destroyed
        KitTest::TearDown();
    }

    void start(std::vector<ScriptedPad> scripted) {
        state = std::make_unique<PluginState>(gamepad::CoreSeams{
            [this, scripted] { return kept(backend, new testsupport::ScriptedBackend(scripted)); },
            [this] { return kept(ticks, new testsupport::ManualTicks); }});
        plugin_state = state.get();
        pads = state->game.impl().use();
    }

    // One tick, and its metadata and states delivered to this thread.
    void step() {
        ASSERT_TRUE(ticks->step());
        QCoreApplication::processEvents();
    }

    // Every pick shows exactly one untitled list that defaults to nothing chosen.
    Picked pass(const char* key, const std::function<int(ZestPanel)>& picker) {
        Picked picked;
        panel.run_pass([&](ZestPanel p) { picked.returned = picker(p); });
        EXPECT_EQ(panel.controls().size(), 1u);
        for (const hostkit::Control& list : panel.controls()) {
            EXPECT_EQ(std::tie(list.kind, list.key, list.text, list.default_value),
                      std::tuple(hostkit::ControlKind::List, key, std::nullopt, -1));
            for (const hostkit::ListEntry& entry : list.entries) {
                picked.entries.emplace_back(entry.label, entry.value);
                picked.values.push_back(entry.value);
            }
        }
        return picked;
    }
    Picked pick_feed(int leave_out) {
        PickerLabels labels{"None"};
        PickerValues values{-1};
        return pass("feedgamepad", [&](ZestPanel p) {
            return pick_feed_gamepad(p, labels, values, *pads, leave_out);
        });
    }
    Picked pick_pad(GamepadPicker picker, AttributeType type) {
        PickerLabels labels;
        PickerValues values;
        return pass("!gamepad",
                    [&](ZestPanel p) { return picker(p, labels, values, *pads, type); });
    }
    // The user's choice first: -1 for none.
    Picked pick_attribute(AttributePicker picker, AttributeType type,
                          GamepadCapabilities capabilities, int chosen) {
        panel.script_value("!attribute", chosen);
        const AttributeQuery query{pads->gamepad(0), type, capabilities};
        return pass("!attribute", [&](ZestPanel p) { return picker(p, query); });
    }

    hostkit::Store store;
    hostkit::Panel panel{store};
    testsupport::ScriptedBackend* backend = nullptr;
    testsupport::ManualTicks* ticks = nullptr;
    std::unique_ptr<PluginState> state;
    std::unique_ptr<gamepad::Gamepads> pads;
};

// Nothing before the first metadata; then the feed takes pads that read and write, but not the
// one left out, and the other lists follow the direction and the query's type and capabilities.
// A stored pad that is gone comes back as it is: Gamepads::gamepad sorts it out. A disconnected
// virtual pad is labelled disconnected. Attributes are offered by their interned ids; the pick
// returns the chosen one's position in the pad's metadata. The query's capabilities decide, not
// the pad's.
TEST_F(PickersTest, ListsFollowPurposeDirectionAndCapabilitiesAndReturnPositions) {
    start({pad("alpha", physical, all_rows), pad("full", all_caps, all_rows),
           pad("sticks", physical, {stick_left}),
           pad("mute", GamepadCapability::OutputWrite, {button_a, motor_large}),
           pad("echo", GamepadCapability::InputRead | GamepadCapability::OutputRead,
               {button_a, motor_large}),
           pad("eps", physical, all_rows, false)});
    ASSERT_EQ(intern_attribute_id("elsewhere"), 0);  // another node's, taken first
    EXPECT_THAT(pick_feed(-1).entries, ElementsAre(Entry{"None", -1}));
    EXPECT_THAT(pick_pad(pick_writable_gamepad, Motor).entries, IsEmpty());
    for (AttributePicker picker : {pick_readable_attribute, pick_writable_attribute}) {
        const Picked early = pick_attribute(picker, Button, all_caps, 0);
        EXPECT_TRUE(early.entries.empty() && early.returned == -1);  // whatever the list said
    }

    backend->script_attach(0, 1);
    state->game.impl().set_virtual_gamepad_enabled(true);
    step();
    ASSERT_EQ(pads->virtual_gamepad_state(), gamepad::VirtualGamepadState::Connected);
    EXPECT_THAT(pick_feed(-1).entries,
                ElementsAre(Entry{"None", -1}, Entry{"alpha", 0}, Entry{"full (virtual)", 1},
                            Entry{"sticks", 2}, Entry{"eps (disconnected)", 5}));
    EXPECT_THAT(pick_feed(1).values, ElementsAre(-1, 0, 2, 5));
    const struct {
        GamepadPicker picker;
        AttributeType type;
        std::vector<int> pads;
    } offers[] = {{pick_readable_gamepad, Button, {0, 1, 4, 5}},
                  {pick_readable_gamepad, Trigger, {0, 1, 5}},
                  {pick_readable_gamepad, Stick, {0, 1, 2, 5}},
                  {pick_readable_gamepad, Motor, {1, 4}},
                  {pick_writable_gamepad, Button, {1}},
                  {pick_writable_gamepad, Motor, {0, 1, 3, 5}}};
    for (const auto& offer : offers) {
        EXPECT_EQ(pick_pad(offer.picker, offer.type).values, offer.pads)
            << (offer.picker == pick_readable_gamepad ? "readable " : "writable ")
            << static_cast<int>(offer.type);
    }
    panel.script_value("!gamepad", 9);
    EXPECT_EQ(pick_pad(pick_writable_gamepad, Motor).returned, 9);

    backend->edit([](std::vector<ScriptedPad>& scripted) { scripted[1].connected = false; });
    step();
    ASSERT_EQ(pads->virtual_gamepad_index(), 1);
    EXPECT_THAT(pick_pad(pick_writable_gamepad, Button).entries,
                ElementsAre(Entry{"full (disconnected)", 1}));

    EXPECT_THAT(pick_attribute(pick_readable_attribute, Button, physical, -1).entries,
                ElementsAre(Entry{"label button_a", 1}, Entry{"label button_b", 2},
                            Entry{"label button_x", 3}));
    // Id 3 is the entry at index 2 and the attribute at position 7; position 3 is button_b.
    const std::vector<std::pair<int, int>> choices{{3, 7}, {1, 0}, {2, 3}, {0, -1}, {9, -1}};
    for (const auto& [chosen, position] : choices) {
        EXPECT_EQ(pick_attribute(pick_readable_attribute, Button, physical, chosen).returned,
                  position)
            << "id " << chosen;
    }
    const Picked blind = pick_attribute(pick_readable_attribute, Button, {}, 1);
    EXPECT_TRUE(blind.entries.empty() && blind.returned == -1);
    EXPECT_THAT(pick_attribute(pick_writable_attribute, Button, physical, -1).entries, IsEmpty());
    const Picked pressed =
        pick_attribute(pick_writable_attribute, Button, GamepadCapability::InputWrite, 3);
    EXPECT_THAT(pressed.values, ElementsAre(1, 2, 3));  // the ids given out before
    EXPECT_EQ(pressed.returned, 7);
    // Motors are outputs: written under OutputWrite.
    const Picked motors = pick_attribute(pick_writable_attribute, Motor, physical, 5);
    EXPECT_THAT(motors.entries,
                ElementsAre(Entry{"label motor_large", 4}, Entry{"label motor_small", 5}));
    EXPECT_EQ(motors.returned, 6);
}

}  // namespace
