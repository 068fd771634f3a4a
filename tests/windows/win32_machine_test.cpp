#include <gtest/gtest.h>

#include "backend/backend.h"
#include "hostapi/host_wrappers.h"
#include "kit/kit.h"
#include "platform/win32.h"
#include "support/kit_fixture.h"

// The plug-in's device code on the Win32 of the machine it runs on (Wine in CI): a
// machine with no pads plugged in and no virtual-pad bus driver.

namespace {

// XInput, imported by ordinal, answers for every empty slot; the backend shows four generic,
// disconnected pads and can't attach a virtual pad, as the bus client finds no driver (the text
// is that of a connection that found nothing).
TEST_F(KitTest, EmptySlotsAreGenericDisconnectedPadsAndThereIsNoBus) {
    ASSERT_TRUE(hostkit::load_translations(ZEST_ENGLISH_TABLE));
    plugin_host_handle = hostkit::host_handle();
    XINPUT_STATE state{};
    EXPECT_EQ(XInputGetState(0, &state), static_cast<DWORD>(ERROR_DEVICE_NOT_CONNECTED));
    std::unique_ptr<gamepad::Backend> backend = gamepad::create_backend();
    ASSERT_EQ(backend->gamepad_count(), 4u);
    backend->refresh_gamepads();
    for (std::size_t pad = 0; pad < 4; ++pad) {
        gamepad::GamepadState read;
        read.values.resize(backend->attribute_count(pad));
        backend->read_gamepad(pad, read);
        EXPECT_FALSE(read.is_connected) << pad;
        EXPECT_EQ(backend->gamepad_name(pad), "Gamepad " + QByteArray::number(pad + 1));
        EXPECT_GT(backend->attribute_count(pad), 0u);
    }
    std::size_t virtual_pad = 0;
    const gamepad::AttachResult result = backend->attach_virtual_gamepad(0, virtual_pad);
    EXPECT_NE(result, gamepad::AttachResult::Success);
    EXPECT_EQ(backend->attach_error_text(0, result),
              "The ViGEm bus driver is not installed or cannot be reached.");
    backend.reset();
    EXPECT_TRUE(hostkit::check().empty());
}

}  // namespace
