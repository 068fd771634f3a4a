#include <benchmark/benchmark.h>

#include "gamepad/constant_writer.h"
#include "gamepad/feed_writer.h"
#include "gamepad/noise_writer.h"
#include "platform/monotonic_clock.h"
#include "support/list_backend.h"

namespace gamepad {
namespace {

using enum AttributeType;
using enum AttributeDirection;

// Two pads with the full set of 23 attributes, as a physical pad feeding the virtual one.
struct Pads {
    testsupport::ListBackend backend{{rows(), rows()}};
    std::vector<GamepadState> in{2, GamepadState{true, std::vector<AttributeValue>(23)}};
    std::vector<GamepadState> out{2, GamepadState{true, std::vector<AttributeValue>(23)}};

    static std::vector<AttributeInfo> rows() {
        std::vector<AttributeInfo> list(17, AttributeInfo{"button", Button, Input});
        const char* buttons[] = {"u",  "d",  "l",  "r", "st", "bk", "lt", "rt", "ls",
                                 "rs", "lb", "rb", "g", "a",  "b",  "x",  "y"};
        for (std::size_t i = 0; i < list.size(); ++i)
            list[i].id = buttons[i];
        list.insert(list.end(), {{"trigger_left", Trigger, Input},
                                 {"trigger_right", Trigger, Input},
                                 {"stick_left", Stick, Input},
                                 {"stick_right", Stick, Input},
                                 {"motor_left", Motor, Output},
                                 {"motor_right", Motor, Output}});
        return list;
    }
};

std::int64_t later() {
    return platform::monotonic_now_ns() + 3'600'000'000'000;
}

void run_apply(benchmark::State& run, Writer& writer) {
    Pads pads;
    writer.resolve(pads.backend);
    for (auto _ : run) {
        writer.apply(pads.in, pads.out);
        benchmark::ClobberMemory();
    }
}

void BM_ConstantApply(benchmark::State& run) {
    ConstantWriter writer(1, "a", AttributeValue::make_button(true), later());
    run_apply(run, writer);
}
BENCHMARK(BM_ConstantApply);

void BM_FeedApply(benchmark::State& run) {
    FeedWriter writer(0, 1);
    run_apply(run, writer);
}
BENCHMARK(BM_FeedApply);

void BM_NoiseApply(benchmark::State& run, const char* id) {
    NoiseWriter writer(1, id, 2.0, 0.5, draw_noise_seed(), later());
    run_apply(run, writer);
}
BENCHMARK_CAPTURE(BM_NoiseApply, button, "a");
BENCHMARK_CAPTURE(BM_NoiseApply, trigger, "trigger_left");
BENCHMARK_CAPTURE(BM_NoiseApply, stick, "stick_left");

void BM_IsActive(benchmark::State& run) {
    Pads pads;
    ConstantWriter writer(1, "a", AttributeValue::make_button(true), later());
    writer.resolve(pads.backend);
    for (auto _ : run)
        benchmark::DoNotOptimize(writer.is_active());
}
BENCHMARK(BM_IsActive);

}  // namespace
}  // namespace gamepad
