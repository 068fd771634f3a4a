#include "gamepad/read_thread.h"

#include <QCoreApplication>

#include "backend/backend.h"
#include "platform/tick_timer.h"

namespace gamepad {

ReadThread::ReadThread(Backend* backend, std::unique_ptr<platform::TickSource> ticks)
    : control_(std::make_unique<ReadThreadControl>()),
      gamepad_count_(backend->gamepad_count()),
      backend_(backend),
      gamepads_(gamepad_count_),
      delivery_slots_(std::make_unique<DeliveryEvent::Slot[]>(delivery_slot_count)),
      input_states_(gamepad_count_),
      output_states_(gamepad_count_),
      collected_(gamepad_count_) {
    control_->ticks = ticks ? std::move(ticks) : std::make_unique<platform::TickTimer>();
    DeliveryEvent::event_type();  // registered here rather than on the polling thread
}

ReadThread::~ReadThread() {
    control_->state.store(ReadThreadState::Stop);
    control_->ticks->set_event();
    wait();
    // Pairs with the thread's last store: Qt's join is invisible to race detectors, this isn't.
    control_->state.load();
    // Deliveries still queued live in slots that go with this object, before QObject's end.
    QCoreApplication::removePostedEvents(this, DeliveryEvent::event_type());
}

std::uint64_t ReadThread::add_writer(std::unique_ptr<Writer> writer) {
    const std::uint64_t id = next_writer_id_++;
    push_command(AddWriter{id, std::move(writer)});
    return id;
}

void ReadThread::push_command(Command command) {
    commands_.push(std::move(command));
}

}  // namespace gamepad
