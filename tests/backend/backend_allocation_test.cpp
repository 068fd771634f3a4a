#include "backend_fixture.h"
#include "support/allocation_counter.h"

namespace gamepad {
namespace {

TEST_F(XInputBackendTest, NormalReadsAndWritesAllocateNothing) {
    if (!testsupport::AllocationCounter::supported()) GTEST_SKIP() << "no counting allocator";
    plug(1);
    GamepadState out{true, std::vector<AttributeValue>(backend->attribute_count(1))};
    out.values[position_of(1, "motor_left")] = AttributeValue::make_motor(1.0);
    backend->write_gamepad(1, out);  // the machine's counters take their first entries
    testsupport::AllocationCounter allocations;
    for (int i = 0; i < 50; ++i) {
        zestsim::set_triggers(1, static_cast<std::uint8_t>(i), 0);
        EXPECT_EQ(backend->read_gamepad(1, state), ReadFlags());
        out.values[position_of(1, "motor_left")] = AttributeValue::make_motor(i / 50.0);
        backend->write_gamepad(1, out);
    }
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_EQ(zestsim::calls("XInputSetState", 1), 51u);
    EXPECT_EQ(value(1, "trigger_left").as_trigger(), 49 / 255.0);
}

}  // namespace
}  // namespace gamepad
