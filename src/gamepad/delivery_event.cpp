#include "gamepad/delivery_event.h"

namespace gamepad {

static_assert(sizeof(DeliveryEvent) <= sizeof(DeliveryEvent::Slot::storage));
static_assert(offsetof(DeliveryEvent::Slot, storage) == 0);

QEvent::Type DeliveryEvent::event_type() {
    static const QEvent::Type type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

DeliveryEvent* DeliveryEvent::make(Slot* slots, std::size_t slot_count, std::size_t subject) {
    for (std::size_t i = 0; i < slot_count; ++i) {
        if (!slots[i].taken.exchange(true)) return new (&slots[i]) DeliveryEvent(subject);
    }
    auto* slot = new Slot;
    slot->on_heap = true;
    return new (slot) DeliveryEvent(subject);
}

void* DeliveryEvent::operator new(std::size_t, Slot* slot) noexcept {
    return slot->storage;
}

void DeliveryEvent::operator delete(void* memory) noexcept {
    give_back(static_cast<Slot*>(memory));
}

void DeliveryEvent::operator delete(void*, Slot* slot) noexcept {
    give_back(slot);
}

void DeliveryEvent::give_back(Slot* slot) noexcept {
    if (slot->on_heap) {
        delete slot;
    } else {
        slot->taken.store(false);
    }
}

}  // namespace gamepad
