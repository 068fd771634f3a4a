#include "gamepad/read_thread.h"

namespace gamepad {

bool ReadThread::event(QEvent* event) {
    if (event->type() != DeliveryEvent::event_type()) return QThread::event(event);
    static_cast<DeliveryEvent*>(event)->mark_delivered();
    collect_publication();
    return true;
}

void ReadThread::collect_publication() {
    delivery_pending_.store(false);
    if (delivering_) {
        // A user's nested event loop: the views must not move under the delivery that runs, so
        // that one collects again when it is done.
        again_ = true;
        return;
    }
    delivering_ = true;
    do {
        again_ = false;
        // All at once, before anything is told: a handler sees every pad as new as its news.
        for (std::size_t i = 0; i < gamepad_count_; ++i)
            collected_[i] = gamepads_[i].channel.collect();
        notes_channel_.collect();
        tell_pads();
        tell_notes();
    } while (again_);
    delivering_ = false;
}

void ReadThread::tell_pads() {
    for (std::size_t i = 0; i < gamepad_count_; ++i) {
        if (!collected_[i]) continue;
        GamepadPublication& view = *gamepads_[i].channel.view();
        GamepadDelivery& delivery = gamepads_[i].delivery;
        Q_EMIT gamepad_changed(i);
        if (delivery.take_metadata(view)) Q_EMIT gamepad_metadata_changed(i);
        if (delivery.take_connection(view)) Q_EMIT gamepad_is_connected_changed(i);
        delivery.begin(view);
    }
    tell_transitions();
    for (std::size_t i = 0; i < gamepad_count_; ++i) {
        if (!collected_[i]) continue;
        gamepads_[i].delivery.finish(*gamepads_[i].channel.view(), [&](std::size_t a) {
            Q_EMIT gamepad_attribute_changed(i, a);
        });
    }
}

// The pads' transitions merged by the order in which they happened.
void ReadThread::tell_transitions() {
    for (;;) {
        std::size_t pad = 0;
        const ButtonTransition* next = nullptr;
        for (std::size_t i = 0; i < gamepad_count_; ++i) {
            if (!collected_[i]) continue;
            const ButtonTransition* t =
                gamepads_[i].delivery.next_transition(*gamepads_[i].channel.view());
            if (t != nullptr && (next == nullptr || t->order < next->order)) {
                next = t;
                pad = i;
            }
        }
        if (next == nullptr) return;
        const std::size_t a = gamepads_[pad].delivery.tell(*gamepads_[pad].channel.view(), *next);
        if (a != GamepadDelivery::none) Q_EMIT gamepad_attribute_changed(pad, a);
    }
}

// The answers in order, and the metadata note where the latest metadata change came.
void ReadThread::tell_notes() {
    const DeliveryNotes* notes = notes_channel_.view();
    if (notes == nullptr) return;
    const std::uint64_t metadata = notes->metadata_sequence();
    while (const AttachAnswer* answer = notes->answer_after(told_note_)) {
        if (metadata > told_note_ && metadata < answer->sequence) {
            told_note_ = metadata;
            Q_EMIT gamepad_any_metadata_changed();
        }
        told_note_ = answer->sequence;
        if (answer->failed) {
            Q_EMIT virtual_gamepad_attach_error(answer->error, answer->generation);
        } else {
            Q_EMIT virtual_gamepad_attach_success(answer->gamepad, answer->generation);
        }
    }
    if (metadata > told_note_) {
        told_note_ = metadata;
        Q_EMIT gamepad_any_metadata_changed();
    }
}

}  // namespace gamepad
