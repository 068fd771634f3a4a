#include "exchange_round_trip.h"

#include <cstdint>
#include <functional>
#include <vector>

#include "bench_stats.h"
#include "gamepad/gamepad_publication.h"
#include "gamepad/publication_channel.h"
#include "mutex_exchange.h"
#include "platform/monotonic_clock.h"

namespace bench {
namespace {

using gamepad::AttributeValue;
using gamepad::GamepadPublication;

// Keeps the compiler from dropping what it can't see used.
void keep(const void* data) {
    asm volatile("" : : "g"(data) : "memory");
}

// What publish_gamepad has in hand: a connected pad of 23 attributes, its metadata and the
// transitions, with one trigger moving.
struct Working {
    GamepadPublication record;
    double trigger = 0.0;

    Working() {
        record.metadata_generation = 1;
        record.metadata.name = "Gamepad 1";
        for (int i = 0; i < 23; ++i) {
            record.metadata.attributes.push_back({"button_" + QByteArray::number(i), "A label",
                                                  gamepad::AttributeType::Button,
                                                  gamepad::AttributeDirection::Input});
        }
        record.state = {true, std::vector<AttributeValue>(23)};
        for (int i = 0; i < 32; ++i) {
            const std::size_t a = static_cast<std::size_t>(i % 17);
            record.transitions.record(static_cast<std::uint64_t>(i) + 1,
                                      record.metadata.attributes[a].id, a, i % 2 == 0);
        }
    }
    void change() { record.state.values[17] = AttributeValue::make_trigger(trigger += 1.0); }
};

struct StateRecord {
    gamepad::GamepadState state;
    gamepad::ButtonTransitions transitions;
};

double time_block(int count, const std::function<void()>& once) {
    const std::int64_t start = platform::monotonic_now_ns();
    for (int i = 0; i < count; ++i)
        once();
    return static_cast<double>(platform::monotonic_now_ns() - start) / count;
}

}  // namespace

RoundTrips measure_round_trips(int blocks, int per_block) {
    Working working;
    gamepad::PublicationChannel<GamepadPublication> channel;
    MutexExchange<GamepadPublication> record_exchange;
    GamepadPublication record_view;
    MutexExchange<StateRecord> state_exchange;
    StateRecord state_working{working.record.state, working.record.transitions};
    StateRecord state_view;

    // As publish_gamepad fills the channel's record, and as a delivery collects it.
    const auto through_channel = [&] {
        working.change();
        GamepadPublication& back = channel.back();
        if (back.metadata_generation != working.record.metadata_generation) {
            back.metadata = working.record.metadata;
            back.metadata_generation = working.record.metadata_generation;
        }
        back.state.is_connected = working.record.state.is_connected;
        back.state.values = working.record.state.values;
        back.transitions = working.record.transitions;
        channel.publish();
        channel.collect();
        keep(channel.view());
    };
    const auto through_mutex = [&] {
        working.change();
        record_exchange.publish(working.record);
        record_exchange.collect(record_view);
        keep(&record_view);
    };
    const auto state_through_mutex = [&] {
        state_working.state.values[17] = AttributeValue::make_trigger(working.trigger += 1.0);
        state_exchange.publish(state_working);
        state_exchange.collect(state_view);
        keep(&state_view);
    };

    std::vector<double> channel_ns, record_ns, state_ns;
    for (int block = 0; block < blocks; ++block) {
        channel_ns.push_back(time_block(per_block, through_channel));
        record_ns.push_back(time_block(per_block, through_mutex));
        state_ns.push_back(time_block(per_block, state_through_mutex));
    }
    return {median(channel_ns), median(record_ns), median(state_ns)};
}

}  // namespace bench
