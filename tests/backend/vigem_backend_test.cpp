#include <QElapsedTimer>
#include <QString>

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

#include "backend/attribute_table.h"
#include "backend/bus/bus_requests.h"
#include "backend/vigem_backend.h"
#include "hostapi/host_wrappers.h"
#include "support/kit_fixture.h"
#include "zestsim/zestsim.h"

namespace gamepad {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> captured;

void capture(QtMsgType type, const QMessageLogContext&, const QString& text) {
    const char* level = type == QtInfoMsg ? "info " : type == QtWarningMsg ? "warning " : "debug ";
    captured.push_back(level + text.toStdString());
}

class ViGEmBackendTest : public KitTest {
protected:
    void SetUp() override {
        KitTest::SetUp();
        plugin_host_handle = hostkit::host_handle();
        zestsim::reset();
        captured.clear();
        previous_handler = qInstallMessageHandler(capture);
    }
    void TearDown() override {
        backend.reset();  // also with a pad attached: nothing is left behind
        qInstallMessageHandler(previous_handler);
        EXPECT_EQ(zestsim::plugged_targets(), 0u);
        EXPECT_EQ(zestsim::pending_requests(), 0u);
        KitTest::TearDown();
    }
    std::uint32_t attach(std::size_t& pad) { return backend->attach_virtual_gamepad(0, pad); }
    ReadFlags read(std::size_t pad) {
        state.values.clear();
        state.values.resize(backend->attribute_count(pad));
        return backend->read_gamepad(pad, state);
    }
    std::uint64_t reports() { return zestsim::ioctl_calls(BUS_IOCTL_SUBMIT_X360_REPORT); }

    std::unique_ptr<ViGEmBackend> backend = std::make_unique<ViGEmBackend>();
    GamepadState state;
    QtMessageHandler previous_handler = nullptr;
};

TEST_F(ViGEmBackendTest, AttachFindsTheTargetBehindTheSentinelAndLogsEachStage) {
    zestsim::plug_pad(0, zestsim::Subtype::Gamepad);
    zestsim::plug_pad(1, zestsim::Subtype::Wheel);
    std::size_t pad = 9;
    ASSERT_EQ(attach(pad), 0u);
    EXPECT_EQ(pad, 2u);
    EXPECT_THAT(captured, ElementsAre("info Gamepad: connecting to ViGEm",
                                      "info Gamepad: attaching ViGEm target",
                                      "info Gamepad: discovering ViGEm target",
                                      "info Gamepad: ViGEm target set up "
                                      "successfully as user 2"));
    EXPECT_EQ(zestsim::target_report(1).thumb_lx, 0);  // the zero report after the sentinel
    EXPECT_EQ(backend->gamepad_capabilities(2), GamepadCapabilities(15));
    EXPECT_STREQ(backend->attribute_info(2, 12).id, "button_guide");

    backend->refresh_gamepads();
    EXPECT_TRUE(read(2).testFlag(ReadFlag::MetadataChanged));
    EXPECT_TRUE(state.is_connected);
    EXPECT_EQ(state.values[12].kind, AttributeValue::Kind::Empty);  // XInput hides the guide
    EXPECT_EQ(state.values[21].as_motor(), 0.0);

    backend->detach_virtual_gamepad(2);
    EXPECT_EQ(zestsim::plugged_targets(), 0u);
    EXPECT_TRUE(read(2).testFlag(ReadFlag::MetadataChanged));
    EXPECT_EQ(backend->gamepad_capabilities(2), GamepadCapabilities(9));
    ASSERT_EQ(attach(pad), 0u);
    ASSERT_EQ(attach(pad), 0u);  // a second attach replaces the first
    EXPECT_EQ(zestsim::plugged_targets(), 1u);
}

TEST_F(ViGEmBackendTest, FailuresEndInTheirCodesWithNothingLeftPlugged) {
    std::size_t pad = 0;
    zestsim::set_bus_driver(false);
    EXPECT_EQ(attach(pad), 2u);
    EXPECT_EQ(captured.back(),
              "warning Gamepad: could not connect to ViGEm driver - error 0xe0000001");
    zestsim::set_bus_driver(true);
    zestsim::refuse_all_serials(true);
    EXPECT_EQ(attach(pad), 3u);  // connected anew, then refused
    EXPECT_EQ(captured.back(), "warning Gamepad: could not add ViGEm target - error 0xe0000002");
    zestsim::refuse_all_serials(false);

    zestsim::set_target_appearance(zestsim::Appearance::Never);
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(attach(pad), 1u);
    EXPECT_GE(clock.elapsed(), 900);  // about a second of discovery
    EXPECT_EQ(captured.back(), "warning Gamepad: could not discover ViGEm target: timed out");
    EXPECT_EQ(zestsim::plugged_targets(), 0u);
    backend->detach_virtual_gamepad(0);  // nothing attached: logged, and nothing else
    EXPECT_EQ(captured.back(), "warning Gamepad: could not remove ViGEm target - error 0xe0000003");
    EXPECT_EQ(backend->attach_error_text(0, 1), "VirtualGamepad.ErrorUnknown");
    EXPECT_EQ(backend->attach_error_text(0, 2), "VirtualGamepad.ErrorNoDriver");
    EXPECT_EQ(backend->attach_error_text(0, 3), "VirtualGamepad.ErrorNoFreeSlot");
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

TEST_F(ViGEmBackendTest, WritesGoOutOnceAndAFailedOneIsLoggedOnce) {
    std::size_t pad = 0;
    ASSERT_EQ(attach(pad), 0u);
    backend->refresh_gamepads();
    read(pad);
    GamepadState out{true, std::vector<AttributeValue>(23)};
    const std::uint64_t sent = reports();
    backend->write_gamepad(pad, out);
    EXPECT_EQ(reports(), sent);  // all zero, as last sent
    out.values[13] = AttributeValue::make_button(true);
    backend->write_gamepad(pad, out);
    backend->write_gamepad(pad, out);
    EXPECT_EQ(reports(), sent + 1);
    EXPECT_EQ(zestsim::target_report(1).buttons, 0x1000);
    read(pad);
    EXPECT_TRUE(state.values[13].as_button());             // back through XInput
    EXPECT_EQ(zestsim::calls("XInputSetState", pad), 0u);  // no writer on the motors

    zestsim::deny_reports(true);  // a failed report is logged once and counts as sent
    out.values[14] = AttributeValue::make_button(true);
    backend->write_gamepad(pad, out);
    backend->write_gamepad(pad, out);
    EXPECT_EQ(reports(), sent + 2);
    EXPECT_EQ(captured.back(), "warning Gamepad: could not update ViGEM target - error 0xe0000003");
}

// Rumble reaches the motors, also when it comes before the attach has ended.
TEST_F(ViGEmBackendTest, RumbleThatComesDuringDiscoveryIsKept) {
    zestsim::set_driver_delay(200);  // discovery lasts while the other program rumbles
    std::thread other_program([] {
        for (int i = 0; i < 2000 && zestsim::target_user(1) < 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        XINPUT_VIBRATION motors{0xFF00, 0x0100};
        XInputSetState(static_cast<DWORD>(zestsim::target_user(1)), &motors);
    });
    std::size_t pad = 0;
    const std::uint32_t result = attach(pad);
    other_program.join();
    ASSERT_EQ(result, 0u);
    read(pad);  // the rumble came well before the attach ended
    EXPECT_EQ(state.values[21].as_motor(), 1.0);
    EXPECT_EQ(state.values[22].as_motor(), 257 / 65535.0);
}

}  // namespace
}  // namespace gamepad
