#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "backend/bus/bus_requests.h"
#include "backend/vigem_backend.h"
#include "hostapi/host_wrappers.h"
#include "support/kit_fixture.h"
#include "support/log_capture.h"
#include "zestsim/zestsim.h"

namespace gamepad {

constexpr std::size_t none = static_cast<std::size_t>(-1);

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
    // A read as the polling thread makes it: values emptied and sized to the present list.
    ReadFlags read(std::size_t pad) {
        state.values.clear();
        state.values.resize(backend->attribute_count(pad));
        return backend->read_gamepad(pad, state);
    }
    void plug(std::size_t pad, const zestsim::Capabilities& caps =
                                   zestsim::default_capabilities(zestsim::Subtype::Gamepad)) {
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

    std::uint32_t attach(std::size_t& pad) { return backend->attach_virtual_gamepad(0, pad); }
    std::uint64_t reports() { return zestsim::ioctl_calls(BUS_IOCTL_SUBMIT_X360_REPORT); }

    std::string last_log() const { return logged.lines().back(); }

    const testsupport::LogCapture logged;  // first made, last gone: it sees the backend's end
    std::unique_ptr<ViGEmBackend> backend = std::make_unique<ViGEmBackend>();
    GamepadState state;
};

using ViGEmBackendTest = XInputBackendTest;

}  // namespace gamepad
