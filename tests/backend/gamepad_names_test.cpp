#include <thread>

#include "backend/gamepad_names.h"
#include "hostapi/host_wrappers.h"
#include "hostapi/translated_text.h"
#include "support/kit_fixture.h"

namespace gamepad {
namespace {

using TranslatedNames = KitTest;

// Pads count from one, the polling thread may build names too, and every string is released.
TEST_F(TranslatedNames, PadsCountFromOneFromAnyThreadAndEveryStringIsReleased) {
    plugin_host_handle = hostkit::host_handle();
    QByteArray from_thread;
    std::thread worker([&] { from_thread = translated_gamepad_name(4, 2); });
    EXPECT_EQ(translated_gamepad_name(0, 0), "GenericGamepad.Name.1");
    worker.join();
    EXPECT_EQ(from_thread, "FlightStickGamepad.Name.3");
    EXPECT_EQ(translated_gamepad_name(6, 3), "GuitarGamepad.Name.4");

    ASSERT_TRUE(hostkit::load_translations(ZEST_ENGLISH_TABLE));
    EXPECT_EQ(translated_gamepad_name(2, 1), "Wheel 2");
    EXPECT_EQ(translated_text("GenericGamepad.ButtonA"), "A button");
    hostkit::set_translation("None", std::nullopt);
    EXPECT_TRUE(translated_text("None").isEmpty());
    EXPECT_THAT(hostkit::check(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace gamepad
