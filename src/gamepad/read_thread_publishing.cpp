#include <QCoreApplication>

#include <algorithm>

#include "gamepad/read_thread.h"
#include "records/value_change.h"

namespace gamepad {

bool ReadThread::publish(bool any_metadata_changed) {
    bool news = false;
    for (std::size_t i = 0; i < gamepad_count_; ++i)
        news = publish_gamepad(i) || news;
    if (any_metadata_changed) {
        notes_.note_any_metadata();
        notes_changed_ = true;
    }
    return publish_notes() || news;
}

// Only what the pad reported is compared and published, never what the writers made of it.
bool ReadThread::publish_gamepad(std::size_t gamepad) {
    GamepadExchange& e = gamepads_[gamepad];
    if (e.read_unchanged && !e.metadata_changed) return false;
    const GamepadState& input = input_states_[gamepad];
    if (e.metadata_changed) ++e.metadata_generation;
    bool values_changed = false;
    const std::size_t count =
        std::min({e.metadata.attributes.size(), e.state.values.size(), input.values.size()});
    for (std::size_t a = 0; a < count; ++a) {
        const AttributeType type = e.metadata.attributes[a].type;
        if (attribute_value_changed(type, e.state.values[a], input.values[a])) {
            values_changed = true;
            if (type == AttributeType::Button) {
                e.transitions.record(++transition_order_, e.metadata.attributes[a].id, a,
                                     input.values[a].as_button());
            }
        }
        e.state.values[a] = input.values[a];
    }
    const bool connection_changed = e.state.is_connected != input.is_connected;
    e.state.is_connected = input.is_connected;

    const bool news = connection_changed || e.metadata_changed || values_changed;
    if (news) {
        GamepadPublication& record = e.channel.back();
        if (record.metadata_generation != e.metadata_generation) {
            record.metadata = e.metadata;
            record.metadata_generation = e.metadata_generation;
        }
        record.state.is_connected = input.is_connected;
        record.state.values = input.values;
        record.transitions = e.transitions;
        e.channel.publish();
    }
    e.metadata_changed = false;
    return news;
}

bool ReadThread::publish_notes() {
    if (!notes_changed_) return false;
    notes_channel_.back() = notes_;
    notes_channel_.publish();
    notes_changed_ = false;
    return true;
}

void ReadThread::post_delivery(bool news) {
    // A delivery that Qt destroyed undelivered left its news in the channels: post it again. The
    // channels are looked at only until the main thread has collected what was posted.
    if (!news) {
        if (!awaiting_collection_ || delivery_pending_.load()) return;
        awaiting_collection_ = uncollected_news();
        if (!awaiting_collection_) return;
    }
    awaiting_collection_ = true;
    if (delivery_pending_.exchange(true)) return;
    QCoreApplication::postEvent(
        this, DeliveryEvent::make(delivery_slots_.get(), delivery_slot_count, &delivery_pending_));
}

bool ReadThread::uncollected_news() const {
    for (const GamepadExchange& exchange : gamepads_) {
        if (exchange.channel.uncollected()) return true;
    }
    return notes_channel_.uncollected();
}

}  // namespace gamepad
