#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <set>

#include "core_fixture.h"
#include "gamepad/constant_writer.h"
#include "gamepad/deadline.h"
#include "gamepad/feed_writer.h"
#include "gamepad/noise_writer.h"
#include "gamepad/simplex_noise.h"
#include "gamepad/update_rate.h"
#include "platform/monotonic_clock.h"

namespace gamepad {
namespace {

using enum AttributeType;
using enum AttributeDirection;
using Kind = AttributeValue::Kind;
using Writers = CoreTest;

std::vector<GamepadState> states(std::size_t pads, std::size_t values) {
    return std::vector<GamepadState>(pads, GamepadState{true, std::vector<AttributeValue>(values)});
}

// Finds its attribute by id (the first match; a null id matches an empty one) and ends when it is
// gone; apply writes its own slot only, where the states reach. The read thread's tests see it
// move and end at its deadline.
TEST_F(Writers, ConstantFindsTheFirstOfItsIdAndWritesOnlyThere) {
    ScriptedBackend& backend =
        own_backend({pad_with({{nullptr, Button, Input}}),
                     pad_with({{"x", Button, Input}, {"a", Trigger, Input}, {"a", Button, Input}}),
                     pad_with({{"b", Button, Input}})});
    ConstantWriter writer(1, "a", AttributeValue::make_trigger(0.25), in_an_hour);
    EXPECT_FALSE(writer.is_active());  // unresolved
    writer.resolve(backend);
    EXPECT_TRUE(writer.is_active());
    std::vector<GamepadState> in = states(2, 3), out = states(2, 3);
    writer.apply(in, out);
    EXPECT_EQ(out[1].values[1].as_trigger(), 0.25);
    for (const AttributeValue* other : {&out[1].values[0], &out[1].values[2], &out[0].values[1]})
        EXPECT_EQ(other->kind, Kind::Empty);
    set_pad(1, [](ScriptedPad& p) { p.rows.clear(); });
    writer.resolve(backend);
    EXPECT_FALSE(writer.is_active());

    ConstantWriter empty_id(0, QByteArray(), AttributeValue::make_button(true), in_an_hour);
    empty_id.resolve(backend);
    EXPECT_EQ(empty_id.attribute_index(), 0u);
    ConstantWriter stray(2, "b", AttributeValue::make_button(false), in_an_hour);
    stray.resolve(backend);
    stray.apply(in, out);  // pad 2 lies beyond the states
    EXPECT_TRUE(stray.is_active());
}

TEST_F(Writers, FeedMapsByIdTypeAndDirectionAndSendsMotorsBack) {
    const std::vector<AttributeInfo> source{{"stick", Stick, Input},  {"a", Button, Input},
                                            {"motor", Motor, Output}, {"t", Button, Input},
                                            {"io", Motor, Input},     {"a", Trigger, Input}};
    const std::vector<AttributeInfo> target{
        {"a", Button, Input},     {"t", Trigger, Input}, {"only_target", Button, Input},
        {"motor", Motor, Output}, {"io", Motor, Output}, {"stick", Stick, Input}};
    ScriptedBackend& backend = own_backend({pad_with(source), pad_with(target)});
    FeedWriter feed(0, 1);
    feed.resolve(backend);
    std::vector<GamepadState> in = states(2, 6), out = states(2, 6);
    in[0].values[0] = AttributeValue::make_stick({0.2, 0.5, -0.5});
    in[0].values[1] = AttributeValue::make_button(true);
    in[1].values[3] = AttributeValue::make_motor(0.75);
    in[0].values[3] = AttributeValue::make_button(true);  // "t": a button, the target's a trigger
    in[0].values[4] = in[1].values[4] = AttributeValue::make_motor(0.5);  // "io": no match
    in[1].values[1] = AttributeValue::make_trigger(1.0);
    feed.apply(in, out);
    EXPECT_TRUE(out[1].values[0].as_button());
    EXPECT_EQ(out[1].values[5].as_stick().x, 0.5);
    EXPECT_EQ(out[1].values[5].as_stick().deadzone, 0.2);
    EXPECT_EQ(out[0].values[2].as_motor(), 0.75);
    const auto empty = [](const AttributeValue& v) { return v.kind == Kind::Empty; };
    for (const AttributeValue* unmatched :
         {&out[1].values[1], &out[1].values[2], &out[0].values[4], &out[1].values[4]})
        EXPECT_TRUE(empty(*unmatched));

    // Either pad away: nothing is written, and the mapping waits for both to come back.
    for (std::size_t away : {0u, 1u}) {
        std::vector<GamepadState> quiet = states(2, 6);
        in[away].is_connected = false;
        feed.apply(in, quiet);
        in[away].is_connected = true;
        for (const GamepadState& state : quiet)
            EXPECT_TRUE(std::ranges::all_of(state.values, empty));
    }
    EXPECT_TRUE(feed.is_active());

    set_pad(0, [](ScriptedPad& p) { p.rows.clear(); });
    feed.resolve(backend);
    for (const FeedMapping& entry : feed.mapping())
        EXPECT_EQ(entry.source_index, no_attribute);
    set_pad(1, [](ScriptedPad& p) { p.rows.clear(); });
    feed.resolve(backend);
    EXPECT_TRUE(feed.mapping().empty());
}

TEST(SimplexNoise, KnownValuesAndThePermutation) {
    EXPECT_FLOAT_EQ(simplex_noise(0.5f), 0.43743166f);
    EXPECT_FLOAT_EQ(simplex_noise(-0.5f), -0.18747070f);
    for (float whole : {0.0f, 1.0f, -1.0f, 255.0f, 256.0f, -257.0f, 123456.0f, 3e9f})
        EXPECT_EQ(simplex_noise(whole), 0.0f) << whole;
    EXPECT_EQ(simplex_noise(std::numeric_limits<float>::quiet_NaN()), 0.0f);

    EXPECT_EQ(std::set<int>(noise_permutation.begin(), noise_permutation.end()).size(), 256u);
}

// What a value reads as through every accessor, its kind first.
std::array<double, 7> readings(const AttributeValue& v) {
    const StickValue s = v.as_stick();
    return {
        double(v.kind), double(v.as_button()), v.as_trigger(), v.as_motor(), s.deadzone, s.x, s.y};
}

TEST(NoiseWriter, BlendsByTypeOverWhatEarlierWritersLeft) {
    const float at_half = simplex_noise(0.5f);
    const double u = static_cast<double>(at_half) * 0.5 + 0.5;
    const double angle = 2.0 * (static_cast<double>(at_half) * 3.141592653589793);
    const AttributeValue empty{}, pulled = AttributeValue::make_trigger(0.2);
    const auto button = [](bool pressed) { return AttributeValue::make_button(pressed); };
    const auto stick = [](double deadzone, double x, double y) {
        return AttributeValue::make_stick({deadzone, x, y});
    };
    const struct {
        AttributeType type;
        AttributeValue previous;
        float noise;
        double amplitude;
        AttributeValue blended;
    } rows[] = {
        {Button, empty, at_half, 1.0, button(true)},
        {Button, button(false), at_half, u, button(true)},  // equality presses
        {Button, button(false), at_half, u - 1e-9, button(false)},
        {Button, button(true), at_half, 0.0, button(true)},
        {Trigger, pulled, at_half, 1.0, AttributeValue::make_trigger(u)},
        {Trigger, pulled, at_half, 0.5, AttributeValue::make_trigger(0.2 + (u - 0.2) * 0.5)},
        // A previous of another kind counts as zero and is replaced.
        {Motor, pulled, at_half, 0.5, AttributeValue::make_motor(u * 0.5)},
        {Stick, empty, 0.0f, 0.8, stick(0.0, 0.0, 0.8)},  // noise 0 points straight up
        {Stick, stick(0.24, 0.5, 0.5), at_half, 0.5,
         stick(0.24, 0.5 + (std::sin(angle) - 0.5) * 0.5, 0.5 + (std::cos(angle) - 0.5) * 0.5)},
        {static_cast<AttributeType>(9), pulled, at_half, 1.0, pulled},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const auto& row = rows[i];
        EXPECT_EQ(readings(NoiseWriter::blend(row.type, row.previous, row.noise, row.amplitude)),
                  readings(row.blended))
            << "row " << i;
    }
    // Seeds spread over a million, so that pads' noises differ.
    EXPECT_EQ(noise_seed_from_bits(0), 0.0);
    EXPECT_LT(noise_seed_from_bits(~0ull), 1'000'000.0);
    EXPECT_GT(noise_seed_from_bits(~0ull), 999'999.99);
}

TEST(Milliseconds, DurationsAndTickPeriodsAreWholeAndSaturate) {
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const std::pair<double, std::int32_t> cases[] = {
        {0.1, 100},          {0.0019999, 1},   {-0.0015, -1},
        {2147483.647, most}, {1e12, most},     {std::numeric_limits<double>::infinity(), most},
        {-1e12, least},      {std::nan(""), 0}};
    for (const auto& [seconds, ms] : cases)
        EXPECT_EQ(duration_ms(seconds), ms) << seconds;
    // Any rate gives a whole-millisecond tick period, so the polling thread never stalls.
    const std::pair<std::int32_t, std::int32_t> periods[] = {
        {1, 1000}, {240, 4},  {250, 4},  {251, 3}, {333, 3},  {334, 2},   {500, 2},
        {501, 1},  {1000, 1}, {5000, 1}, {-5, 1},  {0, 1000}, {least, 1}, {most, 1}};
    for (const auto& [rate, period] : periods)
        EXPECT_EQ(tick_period_ms(rate), period) << rate;

    const std::int64_t before = platform::monotonic_now_ns();
    const std::int64_t deadline = deadline_after(100);
    const std::int64_t after = platform::monotonic_now_ns();
    EXPECT_GE(deadline, before + 100'000'000);
    EXPECT_LE(deadline, after + 100'000'000);
    EXPECT_GT(deadline_after(most), after);
}

}  // namespace
}  // namespace gamepad
