#pragma once

#include <QEvent>

#include <atomic>
#include <cstddef>
#include <memory>

namespace gamepad {

// The polling thread's note to the main thread that a pad, or the metadata of the tick, has
// news. It is a posted event rather than a queued signal so that it can live in a slot made
// once: posting one allocates nothing, and Qt's delete after the delivery only hands the slot
// back. At most two notes per pad are alive at once (one queued, one being delivered); only a
// delivery that a nested event loop holds up can need more, and those come from the heap.
class DeliveryEvent : public QEvent {
public:
    // Room for one note, made on the main thread. What the polling thread writes into a slot
    // besides the note is atomic: Qt's post queue orders it before the delivery, but a race
    // detector can't see inside Qt.
    struct Slot {
        alignas(QEvent) unsigned char storage[sizeof(QEvent)];
        // Polling thread takes it (exchange); Qt's delete on the main thread gives it back
        // (store), after the note is destroyed.
        std::atomic<bool> taken{false};
        // Polling thread stores (release) what the note is about; main thread loads (acquire).
        std::atomic<std::size_t> subject{0};
        // Set by the polling thread when it has no free slot left, read where Qt deletes.
        std::atomic<bool> on_heap{false};
    };

    static QEvent::Type event_type();

    // Polling thread. A note about `subject` in a free one of `slots`, or on the heap if none is.
    static DeliveryEvent* make(Slot* slots, std::size_t slot_count, std::size_t subject);

    // Main thread.
    std::size_t subject() const;

    static void operator delete(void* memory) noexcept;
    static void operator delete(void* memory, Slot* slot) noexcept;

private:
    DeliveryEvent() : QEvent(event_type()) {}
    static void* operator new(std::size_t size, Slot* slot) noexcept;
    static void give_back(Slot* slot) noexcept;
};

}  // namespace gamepad
