#include "gamepad/delivery_event.h"

namespace gamepad {

static_assert(sizeof(DeliveryEvent) <= sizeof(DeliveryEvent::Slot::storage));
static_assert(offsetof(DeliveryEvent::Slot, storage) == 0);

QEvent::Type DeliveryEvent::event_type() {
    static const QEvent::Type type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

DeliveryEvent* DeliveryEvent::make(Slot* slots, std::size_t slot_count, std::size_t subject) {
    Slot* slot = nullptr;
    for (std::size_t i = 0; i < slot_count && slot == nullptr; ++i) {
        if (!slots[i].taken.exchange(true)) slot = &slots[i];
    }
    if (slot == nullptr) {
        slot = new Slot;
        slot->on_heap.store(true, std::memory_order_relaxed);
    }
    slot->subject.store(subject, std::memory_order_release);
    return new (slot) DeliveryEvent;
}

std::size_t DeliveryEvent::subject() const {
    return static_cast<const Slot*>(static_cast<const void*>(this))
        ->subject.load(std::memory_order_acquire);
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
    if (slot->on_heap.load(std::memory_order_relaxed)) {
        delete slot;
    } else {
        slot->taken.store(false);
    }
}

}  // namespace gamepad
