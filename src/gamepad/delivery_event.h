#pragma once

#include <QEvent>

#include <atomic>
#include <cstddef>
#include <memory>

namespace gamepad {

// The polling thread's note to the main thread that there is news. It is a posted event rather
// than a queued signal so that it can live in a slot made once: posting one allocates nothing,
// and Qt's delete after the delivery only hands the slot back. One note waits at a time, behind
// a pending flag; a second slot serves while the first is still being delivered, and only a
// delivery that a nested event loop holds up can need more, which come from the heap. A note
// that Qt destroys undelivered (removePostedEvents, an application object that goes) clears the
// flag, so that the next tick posts again instead of waiting for it for ever.
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
        // Main thread sets it when the note is delivered; read where Qt deletes the note.
        std::atomic<bool> delivered{false};
        // Polling thread stores (release) the pending flag its note stands for; loaded
        // (acquire) where Qt deletes the note.
        std::atomic<std::atomic<bool>*> pending{nullptr};
        // Set by the polling thread when it has no free slot left, read where Qt deletes.
        std::atomic<bool> on_heap{false};
    };

    static QEvent::Type event_type();

    // Polling thread. A note in a free one of `slots`, or on the heap if none is; `pending` is
    // cleared if it is destroyed undelivered.
    static DeliveryEvent* make(Slot* slots, std::size_t slot_count, std::atomic<bool>* pending);

    // Main thread, when the note is delivered.
    void mark_delivered();

    static void operator delete(void* memory) noexcept;
    static void operator delete(void* memory, Slot* slot) noexcept;

private:
    DeliveryEvent() : QEvent(event_type()) {}
    static void* operator new(std::size_t size, Slot* slot) noexcept;
    static void give_back(Slot* slot) noexcept;
};

}  // namespace gamepad
