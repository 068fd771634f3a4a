#include "gamepad/delivery_event.h"

namespace gamepad {
namespace {

DeliveryEvent::Slot* slot_of(void* memory) {
    return static_cast<DeliveryEvent::Slot*>(memory);
}

}  // namespace

static_assert(sizeof(DeliveryEvent) <= sizeof(DeliveryEvent::Slot::storage));
static_assert(offsetof(DeliveryEvent::Slot, storage) == 0);

QEvent::Type DeliveryEvent::event_type() {
    static const QEvent::Type type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

DeliveryEvent* DeliveryEvent::make(Slot* slots, std::size_t slot_count,
                                   std::atomic<bool>* pending) {
    Slot* slot = nullptr;
    for (std::size_t i = 0; i < slot_count && slot == nullptr; ++i) {
        if (!slots[i].taken.exchange(true)) slot = &slots[i];
    }
    if (slot == nullptr) {
        slot = new Slot;
        slot->on_heap.store(true, std::memory_order_relaxed);
    }
    slot->delivered.store(false, std::memory_order_relaxed);
    slot->pending.store(pending, std::memory_order_release);
    return new (slot) DeliveryEvent;
}

void DeliveryEvent::mark_delivered() {
    slot_of(this)->delivered.store(true, std::memory_order_relaxed);
}

void* DeliveryEvent::operator new(std::size_t, Slot* slot) noexcept {
    return slot->storage;
}

void DeliveryEvent::operator delete(void* memory) noexcept {
    give_back(slot_of(memory));
}

void DeliveryEvent::operator delete(void*, Slot* slot) noexcept {
    give_back(slot);
}

void DeliveryEvent::give_back(Slot* slot) noexcept {
    if (!slot->delivered.load(std::memory_order_relaxed)) {
        slot->pending.load(std::memory_order_acquire)->store(false);
    }
    if (slot->on_heap.load(std::memory_order_relaxed)) {
        delete slot;
    } else {
        slot->taken.store(false);
    }
}

}  // namespace gamepad
