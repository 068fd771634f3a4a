#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "backend/attribute_table.h"
#include "backend/bus/bus_requests.h"
#include "backend/vigem_backend.h"
#include "hostapi/host_wrappers.h"
#include "support/allocation_counter.h"
#include "support/eventually.h"
#include "support/kit_fixture.h"
#include "support/log_capture.h"
#include "zestsim/zestsim.h"

namespace gamepad {
namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);
using zestsim::Subtype;

// The XInput pads and the virtual one on the backend the plug-in makes; its log lines are kept.
class XInputBackendTest : public KitTest {
protected:
    void SetUp() override {
        KitTest::SetUp();
        plugin_host_handle = hostkit::host_handle();
        zestsim::reset();
    }
    void TearDown() override {
        backend.reset();  // also with a pad attached: nothing is left behind
        EXPECT_EQ(zestsim::plugged_targets(), 0u);
        EXPECT_EQ(zestsim::pending_requests(), 0u);
        KitTest::TearDown();
    }
    // A read as the polling thread makes it, into the pad's own state, which is kept between
    // reads and sized by the backend after the first; `state` is a copy of the pad's last read.
    ReadFlags read(std::size_t pad) {
        GamepadState& own = states[pad];
        if (own.values.empty()) own.values.assign(backend->attribute_count(pad), AttributeValue());
        const ReadFlags flags = backend->read_gamepad(pad, own);
        state = own;
        return flags;
    }
    void plug(std::size_t pad,
              const zestsim::Capabilities& caps = zestsim::default_capabilities(Subtype::Gamepad)) {
        zestsim::plug_pad(pad, caps);
        backend->refresh_gamepads();
        read(pad);
    }
    std::size_t position_of(std::size_t pad, const char* id) {
        for (std::size_t p = 0; p < backend->attribute_count(pad); ++p) {
            if (QByteArray(backend->attribute_info(pad, p).id) == id) return p;
        }
        return none;
    }
    const AttributeValue& value(std::size_t pad, const char* id) {
        return state.values.at(position_of(pad, id));
    }
    void write_motors(std::size_t pad, AttributeValue large, AttributeValue small) {
        GamepadState out{true, std::vector<AttributeValue>(backend->attribute_count(pad))};
        out.values[position_of(pad, "motor_left")] = large;
        out.values[position_of(pad, "motor_right")] = small;
        backend->write_gamepad(pad, out);
    }

    AttachResult attach(std::size_t& pad) { return backend->attach_virtual_gamepad(0, pad); }
    std::uint64_t reports() { return zestsim::ioctl_calls(BUS_IOCTL_SUBMIT_X360_REPORT); }

    std::string last_log() const { return logged.lines().back(); }

    const testsupport::LogCapture logged;  // first made, last gone: it sees the backend's end
    std::unique_ptr<ViGEmBackend> backend = std::make_unique<ViGEmBackend>();
    std::array<GamepadState, 5> states;
    GamepadState state;
};

using ViGEmBackendTest = XInputBackendTest;

// Nothing is polled before a refresh; an empty slot then once per refresh and shows the generic
// pad, a plugged one every tick with its own list, name and labels.
TEST_F(XInputBackendTest, SlotsFollowTheRefreshesAndEachPadBringsItsOwnListNameAndLabels) {
    zestsim::plug_pad(2, Subtype::DrumKit);
    EXPECT_EQ(read(2), ReadFlags());
    EXPECT_EQ(read(2), ReadFlags(ReadFlag::Unchanged));
    EXPECT_EQ(zestsim::calls("XInputGetState", 2), 0u);
    EXPECT_EQ(backend->gamepad_name(0), "GenericGamepad.Name.1");

    backend->refresh_gamepads();
    EXPECT_EQ(read(0), ReadFlags());
    EXPECT_FALSE(state.is_connected);
    read(0);
    EXPECT_EQ(zestsim::calls("XInputGetState", 0), 1u);
    EXPECT_EQ(read(2), ReadFlags(ReadFlag::MetadataChanged));
    EXPECT_TRUE(state.is_connected);
    EXPECT_EQ(backend->gamepad_name(2), "DrumkitGamepad.Name.3");
    EXPECT_EQ(position_of(2, "stick_left"), none);
    EXPECT_EQ(backend->attribute_label(2, position_of(2, "button_a")), "DrumkitGamepad.ButtonA");
    EXPECT_EQ(read(2), ReadFlags(ReadFlag::Unchanged));  // polled, but nothing moved

    zestsim::unplug_pad(2);
    EXPECT_EQ(read(2), ReadFlags(ReadFlag::MetadataChanged));
    EXPECT_FALSE(state.is_connected);
    EXPECT_EQ(state.values.size(), 23u);
    for (const AttributeValue& v : state.values)
        EXPECT_EQ(v.kind, AttributeValue::Kind::Empty);
    zestsim::plug_pad(2, Subtype::Wheel);
    backend->refresh_gamepads();
    EXPECT_EQ(read(2), ReadFlags(ReadFlag::MetadataChanged));
    EXPECT_EQ(backend->gamepad_name(2), "WheelGamepad.Name.3");
    EXPECT_THAT(hostkit::check(), ::testing::IsEmpty());
}

TEST_F(XInputBackendTest, DecodesButtonsTriggersAndSticksAtTheirEndsAndScansTheCapabilities) {
    plug(0);
    EXPECT_EQ(position_of(0, "button_guide"), none);  // a wired pad doesn't report it
    EXPECT_EQ(backend->attribute_count(0), 22u);
    zestsim::press(0, 0x1000 | 0x0400, true);
    zestsim::set_triggers(0, 30, 31);  // 30 is not pressed, 31 is
    zestsim::set_sticks(0, -32768, 32767, 0, -1);
    read(0);
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

    // A report read again unchanged is not decoded again; a change of any one field is read.
    const std::vector<void (*)(zestsim::PadState&)> nudges{[](zestsim::PadState& s) { s.buttons ^= 0x0001; },
                                                           [](zestsim::PadState& s) { ++s.left_trigger; },
                                                           [](zestsim::PadState& s) { ++s.right_trigger; },
                                                           [](zestsim::PadState& s) { ++s.thumb_lx; },
                                                           [](zestsim::PadState& s) { ++s.thumb_ly; },
                                                           [](zestsim::PadState& s) { ++s.thumb_rx; },
                                                           [](zestsim::PadState& s) { ++s.thumb_ry; }};
    zestsim::PadState pad;
    for (std::size_t field = 0; field <= nudges.size(); ++field) {
        zestsim::set_pad_state(0, pad);
        EXPECT_EQ(read(0), ReadFlags()) << "after field " << field;
        EXPECT_EQ(read(0), ReadFlags(ReadFlag::Unchanged)) << "after field " << field;
        if (field < nudges.size()) nudges[field](pad);
    }

    zestsim::Capabilities caps;  // a trigger of 20: analogue without the digital view
    caps.controls.buttons = 0x1000;
    caps.controls.left_trigger = 20;
    caps.controls.right_trigger = 31;
    caps.controls.thumb_ry = 1;
    plug(1, caps);
    std::vector<std::string> ids;
    for (std::size_t p = 0; p < backend->attribute_count(1); ++p)
        ids.push_back(backend->attribute_info(1, p).id);
    EXPECT_THAT(ids, ::testing::ElementsAre("button_right_trigger", "button_a", "trigger_left",
                                            "trigger_right", "stick_right"));

    zestsim::fail_capabilities(true);  // a pad whose capabilities can't be read has nothing
    zestsim::plug_pad(3, Subtype::Gamepad);
    backend->refresh_gamepads();
    EXPECT_EQ(read(3), ReadFlags(ReadFlag::MetadataChanged));
    EXPECT_TRUE(state.is_connected);
    EXPECT_EQ(backend->attribute_count(3), 0u);
}

// Speeds are clamped, anything but a motor speed is zero, and only a change is sent. What was
// sent is kept while the pad is gone: the same speeds aren't sent again when it is back.
TEST_F(XInputBackendTest, MotorsAreClampedAndOnlyChangesAreSent) {
    plug(0);
    const auto motor = AttributeValue::make_motor;
    const auto sent = [] {
        const zestsim::Vibration v = zestsim::vibration(0);
        return std::vector<int>({v.left, v.right, int(zestsim::calls("XInputSetState", 0))});
    };
    write_motors(0, motor(0.5), motor(1.5));
    write_motors(0, motor(0.5), motor(1.0));
    EXPECT_EQ(sent(), std::vector<int>({32767, 65535, 1}));
    write_motors(0, motor(std::nan("")), AttributeValue::make_trigger(1.0));
    write_motors(0, motor(-0.5), {});
    EXPECT_EQ(sent(), std::vector<int>({0, 0, 2}));
    write_motors(0, motor(1.0), motor(1.0));
    zestsim::unplug_pad(0);
    read(0);
    write_motors(0, motor(0.2), {});
    plug(0);
    write_motors(0, motor(1.0), motor(1.0));
    write_motors(0, {}, {});
    EXPECT_EQ(sent(), std::vector<int>({0, 0, 4}));
}

TEST_F(ViGEmBackendTest, AttachFindsTheTargetBehindTheSentinelAndLogsEachStage) {
    zestsim::plug_pad(0, Subtype::Gamepad);
    zestsim::plug_pad(1, Subtype::Wheel);
    std::size_t pad = 9;
    ASSERT_EQ(attach(pad), AttachResult::Success);
    EXPECT_EQ(pad, 2u);
    EXPECT_EQ(last_log(), "info Gamepad: ViGEm target set up successfully as user 2");
    EXPECT_EQ(backend->gamepad_capabilities(2), GamepadCapabilities(15));
    EXPECT_STREQ(backend->attribute_info(2, 12).id, "button_guide");

    backend->refresh_gamepads();
    EXPECT_TRUE(read(2).testFlag(ReadFlag::MetadataChanged));
    EXPECT_TRUE(state.is_connected);
    EXPECT_EQ(state.values[12].kind, AttributeValue::Kind::Empty);  // XInput hides the guide

    backend->detach_virtual_gamepad(2);
    EXPECT_EQ(zestsim::plugged_targets(), 0u);
    EXPECT_TRUE(read(2).testFlag(ReadFlag::MetadataChanged));
    EXPECT_EQ(backend->gamepad_capabilities(2), GamepadCapabilities(9));
    ASSERT_EQ(attach(pad), AttachResult::Success);
    ASSERT_EQ(attach(pad), AttachResult::Success);  // a second attach replaces the first
    EXPECT_EQ(zestsim::plugged_targets(), 1u);
}

// Each failure ends in its code, its log line and its text, with nothing plugged; the driver is
// connected anew for each attach.
TEST_F(ViGEmBackendTest, FailuresEndInTheirCodesWithNothingLeftPlugged) {
    const struct {
        bool driver, serials_refused;
        AttachResult result;
        const char* log;
        QByteArray text;
    } rows[] = {
        {false, false, AttachResult::DriverUnreachable,
         "could not connect to ViGEm driver - error 0xe0000001", "VirtualGamepad.ErrorNoDriver"},
        {true, true, AttachResult::TargetRefused, "could not add ViGEm target - error 0xe0000002",
         "VirtualGamepad.ErrorNoFreeSlot"},
        {true, false, AttachResult::SetUpFailed, "could not discover ViGEm target: timed out",
         "VirtualGamepad.ErrorUnknown"}};  // the target never shows: about a second of discovery
    zestsim::set_target_appearance(zestsim::Appearance::Never);
    const auto start = std::chrono::steady_clock::now();
    for (const auto& row : rows) {
        zestsim::set_bus_driver(row.driver);
        zestsim::refuse_all_serials(row.serials_refused);
        std::size_t pad = 0;
        EXPECT_EQ(attach(pad), row.result);
        EXPECT_EQ(last_log(), std::string("warning Gamepad: ") + row.log);
        EXPECT_EQ(backend->attach_error_text(0, row.result), row.text);
        EXPECT_EQ(zestsim::plugged_targets(), 0u);
    }
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    backend->detach_virtual_gamepad(0);  // nothing attached: logged, and nothing else
    EXPECT_EQ(last_log(), "warning Gamepad: could not remove ViGEm target - error 0xe0000003");
}

// A target that the bus refuses to take back stays ours: switching on again takes it up rather
// than plugging a second one, and its rumble still comes through; it is asked to go again at
// refreshes further and further apart until the bus takes it. At the backend's end, closing the
// connection takes it off the bus whatever the driver says (seen by the fixture).
TEST_F(ViGEmBackendTest, ARefusedUnplugKeepsTheTargetUntilTheBusTakesItBack) {
    zestsim::plug_pad(0, Subtype::Gamepad);
    std::size_t pad = 0;
    ASSERT_EQ(attach(pad), AttachResult::Success);
    zestsim::refuse_requests(BUS_IOCTL_UNPLUG_TARGET, ERROR_GEN_FAILURE);
    backend->detach_virtual_gamepad(pad);
    EXPECT_EQ(last_log(), "warning Gamepad: could not remove ViGEm target - error 0xe0000004");
    ASSERT_EQ(attach(pad), AttachResult::Success);
    EXPECT_EQ(pad, 1u);
    EXPECT_EQ(zestsim::ioctl_calls(BUS_IOCTL_PLUG_TARGET), 1u);
    XINPUT_VIBRATION motors{0xFF00, 0};  // another program
    XInputSetState(1, &motors);
    EXPECT_TRUE(eventually([&] {
        read(pad);
        return state.values[21].as_motor() == 1.0;
    }));

    backend->detach_virtual_gamepad(pad);
    // The slot's own view again: nothing the virtual pad showed is left at its motors.
    EXPECT_EQ(read(pad), ReadFlags(ReadFlag::MetadataChanged));
    EXPECT_EQ(value(pad, "motor_left").kind, AttributeValue::Kind::Empty);
    EXPECT_EQ(value(pad, "motor_right").kind, AttributeValue::Kind::Empty);
    std::vector<int> asked_at;
    for (int refresh = 1; refresh <= 40; ++refresh) {
        const std::uint64_t before = zestsim::ioctl_calls(BUS_IOCTL_UNPLUG_TARGET);
        backend->refresh_gamepads();
        if (zestsim::ioctl_calls(BUS_IOCTL_UNPLUG_TARGET) > before) asked_at.push_back(refresh);
    }
    ASSERT_GE(asked_at.size(), 3u);
    EXPECT_LE(asked_at.size(), 6u);  // the pause doubles
    for (std::size_t i = 2; i < asked_at.size(); ++i)
        EXPECT_GE(asked_at[i] - asked_at[i - 1], asked_at[i - 1] - asked_at[i - 2]);
    EXPECT_GT(asked_at[2] - asked_at[1], asked_at[1] - asked_at[0]);
    EXPECT_EQ(zestsim::plugged_targets(), 1u);
    zestsim::refuse_requests(BUS_IOCTL_UNPLUG_TARGET, 0);
    for (int refresh = 0; refresh < 64 && zestsim::plugged_targets() != 0; ++refresh)
        backend->refresh_gamepads();
    EXPECT_EQ(zestsim::plugged_targets(), 0u);

    ASSERT_EQ(attach(pad), AttachResult::Success);
    zestsim::refuse_requests(BUS_IOCTL_UNPLUG_TARGET, ERROR_GEN_FAILURE);
}

TEST_F(ViGEmBackendTest, ReportsCarryEveryByteAndAxisBitForBit) {
    GamepadState out{true, std::vector<AttributeValue>(23)};
    for (int byte = 0; byte < 256; ++byte) {
        out.values[row_trigger_left] = AttributeValue::make_trigger(byte / trigger_scale);
        ASSERT_EQ(ViGEmBackend::build_report(out).left_trigger, byte);
    }
    for (int axis = -32768; axis < 32768; ++axis) {
        const auto word = static_cast<std::int16_t>(axis);
        out.values[row_stick_right] =
            AttributeValue::make_stick({right_stick_deadzone, 0.0, decode_axis(word)});
        ASSERT_EQ(ViGEmBackend::build_report(out).thumb_ry, word);
    }
    out.values[row_trigger_left] = AttributeValue::make_trigger(0.5);
    out.values[row_trigger_right] = AttributeValue::make_trigger(std::nan(""));
    out.values[row_stick_left] = AttributeValue::make_stick({0, 2.0, -0.5});
    out.values[row_stick_right] = AttributeValue::make_button(true);  // the wrong kind: zero
    out.values[13] = AttributeValue::make_button(true);
    out.values[12] = AttributeValue::make_button(true);
    const BusX360Report r = ViGEmBackend::build_report(out);
    EXPECT_EQ(std::vector<int>(
                  {r.buttons, r.left_trigger, r.right_trigger, r.thumb_lx, r.thumb_ly, r.thumb_ry}),
              std::vector<int>({0x1000 | 0x0400, 127, 0, 32767, -16384, 0}));
    out.values[row_trigger_right] = AttributeValue();
    out.values[row_button_right_trigger] = AttributeValue::make_button(true);
    EXPECT_EQ(ViGEmBackend::build_report(out).right_trigger, 255);  // pressed on its own
}

// Rumble reaches the motors, also when it comes before the attach has ended; a report goes out
// only when it changed, and a failed one is logged and counts as sent.
TEST_F(ViGEmBackendTest, RumbleDuringDiscoveryIsKeptAndWritesGoOutOnce) {
    zestsim::set_driver_delay(200);  // discovery lasts while the other program rumbles
    std::thread other_program([] {
        for (int i = 0; i < 2000 && zestsim::target_user(1) < 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        XINPUT_VIBRATION motors{0xFF00, 0x0100};
        XInputSetState(static_cast<DWORD>(zestsim::target_user(1)), &motors);
    });
    std::size_t pad = 0;
    const AttachResult result = attach(pad);
    other_program.join();
    ASSERT_EQ(result, AttachResult::Success);
    zestsim::set_driver_delay(0);
    read(pad);  // the rumble came well before the attach ended
    EXPECT_EQ(state.values[21].as_motor(), 1.0);
    EXPECT_EQ(state.values[22].as_motor(), 257 / 65535.0);

    GamepadState out{true, std::vector<AttributeValue>(23)};
    const std::uint64_t sent = reports();
    const struct {
        std::size_t button;  // pressed from then on
        std::uint64_t reports;
    } rows[] = {{0, 0}, {13, 1}, {13, 1}, {14, 2}, {14, 2}};  // all zero at first, as last sent
    for (const auto& row : rows) {
        zestsim::deny_reports(row.button == 14);
        if (row.button != 0) out.values[row.button] = AttributeValue::make_button(true);
        backend->write_gamepad(pad, out);
        EXPECT_EQ(reports() - sent, row.reports) << row.button;
    }
    EXPECT_EQ(zestsim::target_report(1).buttons, 0x1000);  // the denied one never arrived
    EXPECT_EQ(last_log(), "warning Gamepad: could not update ViGEM target - error 0xe0000003");
}

TEST_F(XInputBackendTest, NormalReadsAndWritesAllocateNothing) {
    if (!testsupport::AllocationCounter::supported()) GTEST_SKIP() << "no counting allocator";
    plug(1);
    GamepadState out{true, std::vector<AttributeValue>(backend->attribute_count(1))};
    const std::size_t motor = position_of(1, "motor_left");
    out.values[motor] = AttributeValue::make_motor(1.0);
    backend->write_gamepad(1, out);  // the machine's counters take their first entries
    testsupport::AllocationCounter allocations;
    for (int i = 1; i <= 50; ++i) {
        zestsim::set_triggers(1, static_cast<std::uint8_t>(i), 0);
        EXPECT_EQ(backend->read_gamepad(1, states[1]), ReadFlags());
        out.values[motor] = AttributeValue::make_motor(i / 50.0);
        backend->write_gamepad(1, out);
    }
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_EQ(zestsim::calls("XInputSetState", 1), 51u);
}

}  // namespace
}  // namespace gamepad
