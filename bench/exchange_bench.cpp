#include <benchmark/benchmark.h>

#include "gamepad/gamepad_exchange.h"

namespace gamepad {
namespace {

// One publication and its delivery: what a changed pad costs the two threads per tick.
void BM_StatePublishCollect(benchmark::State& run) {
    GamepadExchange exchange;
    GamepadState working{true, std::vector<AttributeValue>(23)};
    double value = 0.0;
    for (auto _ : run) {
        working.values[17] = AttributeValue::make_trigger(value += 1.0);
        GamepadPublication& record = exchange.channel.back();
        record.state.is_connected = working.is_connected;
        record.state.values = working.values;
        record.transitions = exchange.transitions;
        exchange.channel.publish();
        exchange.channel.collect();
        benchmark::DoNotOptimize(exchange.channel.view());
    }
}
BENCHMARK(BM_StatePublishCollect);

void BM_MetadataPublishCollect(benchmark::State& run) {
    GamepadExchange exchange;
    GamepadMetadata working{"Gamepad 1", GamepadCapability::InputRead, {}};
    for (int i = 0; i < 23; ++i) {
        working.attributes.push_back(
            {QByteArray::number(i), "label", AttributeType::Button, AttributeDirection::Input});
    }
    for (auto _ : run) {
        exchange.channel.back().metadata = working;
        exchange.channel.publish();
        exchange.channel.collect();
        benchmark::DoNotOptimize(exchange.channel.view());
    }
}
BENCHMARK(BM_MetadataPublishCollect);

}  // namespace
}  // namespace gamepad
