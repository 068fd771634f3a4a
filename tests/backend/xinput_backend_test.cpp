#include <cmath>
#include <limits>

#include "backend/attribute_table.h"
#include "backend/xinput_backend.h"
#include "hostapi/host_wrappers.h"
#include "support/allocation_counter.h"
#include "support/kit_fixture.h"
#include "zestsim/zestsim.h"

namespace gamepad {
namespace {

using zestsim::Subtype;

constexpr std::size_t none = static_cast<std::size_t>(-1);

class Pads final : public XInputBackend {
public:
    bool can_hide_feed_gamepad() override { return false; }
    void hide_feed_gamepad() override {}
};

class XInputBackendTest : public KitTest {
protected:
    void SetUp() override {
        KitTest::SetUp();
        plugin_host_handle = hostkit::host_handle();
        zestsim::reset();
    }
    // A read as the polling thread makes it: values emptied and sized to the present list.
    ReadFlags read(std::size_t pad) {
        state.values.clear();
        state.values.resize(backend.attribute_count(pad));
        return backend.read_gamepad(pad, state);
    }
    void plug(std::size_t pad,
              const zestsim::Capabilities& caps = zestsim::default_capabilities(Subtype::Gamepad)) {
        zestsim::plug_pad(pad, caps);
        backend.refresh_gamepads();
        read(pad);
    }
    std::size_t position_of(std::size_t pad, const char* id) {
        for (std::size_t p = 0; p < backend.attribute_count(pad); ++p) {
            if (QByteArray(backend.attribute_info(pad, p).id) == id) return p;
        }
        return none;
    }
    const AttributeValue& value(std::size_t pad, const char* id) {
        return state.values.at(position_of(pad, id));
    }
    void write_motors(std::size_t pad, AttributeValue large, AttributeValue small) {
        GamepadState out{true, std::vector<AttributeValue>(backend.attribute_count(pad))};
        if (position_of(pad, "motor_left") != none)
            out.values[position_of(pad, "motor_left")] = large;
        if (position_of(pad, "motor_right") != none)
            out.values[position_of(pad, "motor_right")] = small;
        backend.write_gamepad(pad, out);
    }

    Pads backend;
    GamepadState state;
};

// Nothing is polled before a refresh; an empty slot then once per refresh and shows the generic
// pad, a plugged one every tick with its own list, name and labels.
TEST_F(XInputBackendTest, SlotsFollowTheRefreshesAndEachPadBringsItsOwnListNameAndLabels) {
    zestsim::plug_pad(2, Subtype::DrumKit);
    state.is_connected = true;  // left alone by a read that doesn't poll
    EXPECT_EQ(read(0), ReadFlags());
    EXPECT_TRUE(state.is_connected);
    read(2);
    EXPECT_EQ(zestsim::calls("XInputGetState"), 0u);
    EXPECT_EQ(backend.attribute_count(0), 23u);
    EXPECT_EQ(backend.gamepad_capabilities(0), GamepadCapabilities(9));
    EXPECT_EQ(backend.gamepad_name(0), "GenericGamepad.Name.1");

    backend.refresh_gamepads();
    EXPECT_EQ(read(0), ReadFlags());
    EXPECT_FALSE(state.is_connected);
    read(0);
    EXPECT_EQ(zestsim::calls("XInputGetState", 0), 1u);
    EXPECT_EQ(read(2), ReadFlags(ReadFlag::MetadataChanged));
    EXPECT_TRUE(state.is_connected);
    EXPECT_EQ(backend.gamepad_name(2), "DrumkitGamepad.Name.3");
    EXPECT_EQ(position_of(2, "stick_left"), none);
    EXPECT_EQ(backend.attribute_label(2, position_of(2, "button_a")), "DrumkitGamepad.ButtonA");
    EXPECT_EQ(read(2), ReadFlags());
    EXPECT_EQ(zestsim::calls("XInputGetCapabilities", 2), 1u);

    zestsim::unplug_pad(2);
    EXPECT_EQ(read(2), ReadFlags(ReadFlag::MetadataChanged));
    EXPECT_FALSE(state.is_connected);
    EXPECT_EQ(state.values.size(), 23u);
    for (const AttributeValue& v : state.values)
        EXPECT_EQ(v.kind, AttributeValue::Kind::Empty);
    const std::uint64_t polls = zestsim::calls("XInputGetState", 2);
    read(2);
    EXPECT_EQ(zestsim::calls("XInputGetState", 2), polls);
    zestsim::plug_pad(2, Subtype::Wheel);
    backend.refresh_gamepads();
    EXPECT_EQ(read(2), ReadFlags(ReadFlag::MetadataChanged));
    EXPECT_EQ(backend.gamepad_name(2), "WheelGamepad.Name.3");
    EXPECT_THAT(hostkit::check(), ::testing::IsEmpty());
}

TEST_F(XInputBackendTest, DecodesButtonsTriggersAndSticksAtTheirEnds) {
    plug(0);
    EXPECT_EQ(position_of(0, "button_guide"), none);  // a wired pad doesn't report it
    EXPECT_EQ(backend.attribute_count(0), 22u);
    zestsim::press(0, 0x1000 | 0x0400, true);
    zestsim::set_triggers(0, 30, 31);
    zestsim::set_sticks(0, -32768, 32767, 0, -1);
    read(0);
    // 30 is not pressed, 31 is.
    EXPECT_EQ(std::vector<bool>({value(0, "button_a").as_button(), value(0, "button_b").as_button(),
                                 value(0, "button_left_trigger").as_button(),
                                 value(0, "button_right_trigger").as_button()}),
              std::vector<bool>({true, false, false, true}));
    EXPECT_EQ(value(0, "trigger_left").as_trigger(), 30 / 255.0);
    EXPECT_EQ(value(0, "trigger_right").as_trigger(), 31 / 255.0);
    const StickValue l = value(0, "stick_left").as_stick(), r = value(0, "stick_right").as_stick();
    EXPECT_EQ(
        std::vector<double>({l.deadzone, l.x, l.y, r.deadzone, r.x, r.y}),
        std::vector<double>({7849.0 / 32767.0, -1.0, 1.0, 8689.0 / 32767.0, 0.0, -1.0 / 32768.0}));
    EXPECT_EQ(value(0, "motor_left").kind, AttributeValue::Kind::Empty);
}

TEST_F(XInputBackendTest, ScansWhatTheCapabilitiesReport) {
    zestsim::Capabilities caps;  // a trigger of 20: analogue without the digital view
    caps.controls.buttons = 0x1000;
    caps.controls.left_trigger = 20;
    caps.controls.right_trigger = 31;
    caps.controls.thumb_ry = 1;
    plug(1, caps);
    std::vector<std::string> ids;
    for (std::size_t row : backend.slot(1).attributes)
        ids.push_back(attribute_rows[row].info.id);
    EXPECT_THAT(ids, ::testing::ElementsAre("button_right_trigger", "button_a", "trigger_left",
                                            "trigger_right", "stick_right"));
    write_motors(1, AttributeValue::make_motor(1.0), AttributeValue::make_motor(1.0));
    EXPECT_EQ(zestsim::calls("XInputSetState", 1), 0u);  // no motors: speeds stay 0

    zestsim::fail_capabilities(true);  // a pad whose capabilities can't be read has nothing
    zestsim::plug_pad(3, Subtype::Gamepad);
    backend.refresh_gamepads();
    EXPECT_EQ(read(3), ReadFlags(ReadFlag::MetadataChanged));
    EXPECT_TRUE(state.is_connected);
    EXPECT_EQ(backend.attribute_count(3), 0u);
}

TEST_F(XInputBackendTest, MotorsAreClampedAndOnlyChangesAreSent) {
    plug(0);
    const auto speeds = [] { return zestsim::vibration(0); };
    write_motors(0, AttributeValue::make_motor(0.5), AttributeValue::make_motor(1.5));
    EXPECT_EQ(speeds().left, 32767);
    EXPECT_EQ(speeds().right, 65535);
    write_motors(0, AttributeValue::make_motor(0.5), AttributeValue::make_motor(1.0));
    EXPECT_EQ(zestsim::calls("XInputSetState", 0), 1u);  // the same speeds again
    write_motors(0, AttributeValue::make_motor(std::nan("")), AttributeValue::make_trigger(1.0));
    EXPECT_EQ(speeds().left, 0);
    EXPECT_EQ(speeds().right, 0);
    write_motors(0, AttributeValue::make_motor(-0.5), AttributeValue{});
    EXPECT_EQ(zestsim::calls("XInputSetState", 0), 2u);

    // Rumbling when unplugged: the speeds are kept, and the same ones aren't sent again.
    write_motors(0, AttributeValue::make_motor(1.0), AttributeValue::make_motor(1.0));
    zestsim::unplug_pad(0);
    read(0);
    write_motors(0, AttributeValue::make_motor(0.2), AttributeValue{});
    plug(0);
    write_motors(0, AttributeValue::make_motor(1.0), AttributeValue::make_motor(1.0));
    EXPECT_EQ(zestsim::calls("XInputSetState", 0), 3u);
    write_motors(0, AttributeValue{}, AttributeValue{});
    EXPECT_EQ(zestsim::calls("XInputSetState", 0), 4u);
    EXPECT_EQ(speeds().left, 0);
}

TEST_F(XInputBackendTest, NormalReadsAndWritesAllocateNothing) {
    if (!testsupport::AllocationCounter::supported()) GTEST_SKIP() << "no counting allocator";
    plug(1);
    GamepadState out{true, std::vector<AttributeValue>(backend.attribute_count(1))};
    out.values[position_of(1, "motor_left")] = AttributeValue::make_motor(1.0);
    backend.write_gamepad(1, out);  // the machine's counters take their first entries
    testsupport::AllocationCounter allocations;
    for (int i = 0; i < 50; ++i) {
        zestsim::set_triggers(1, static_cast<std::uint8_t>(i), 0);
        EXPECT_EQ(backend.read_gamepad(1, state), ReadFlags());
        out.values[position_of(1, "motor_left")] = AttributeValue::make_motor(i / 50.0);
        backend.write_gamepad(1, out);
    }
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_EQ(zestsim::calls("XInputSetState", 1), 51u);
    EXPECT_EQ(value(1, "trigger_left").as_trigger(), 49 / 255.0);
}

}  // namespace
}  // namespace gamepad
