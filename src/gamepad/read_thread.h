#pragma once

#include <QElapsedTimer>
#include <QThread>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "gamepad/command_queue.h"
#include "gamepad/delivery_event.h"
#include "gamepad/gamepad_exchange.h"
#include "gamepad/read_thread_control.h"

namespace gamepad {

class Backend;

// The polling thread. The object lives on the main thread; run() is the thread, which has no
// event loop. Each tick it runs the commands, reads every pad, lets the writers override what
// goes out, writes to the devices, and publishes what the pads reported if it changed. It then
// posts one delivery per pad with news, unless one is still waiting: however long the main
// thread is held up, what waits for it stays bounded by the number of pads. The deliveries run
// on the main thread and emit the pads' signals there; the attach signals are emitted on the
// polling thread and reach the main thread queued.
class ReadThread : public QThread {
    Q_OBJECT

public:
    // Main thread. Does not start the thread. Without `ticks` it ticks by the platform's timer.
    explicit ReadThread(Backend* backend, std::unique_ptr<platform::TickSource> ticks = nullptr);
    // Main thread. Stops and joins the thread, also a paused one, then frees what is left.
    ~ReadThread() override;

    ReadThreadControl& control() { return *control_; }
    std::size_t gamepad_count() const { return gamepad_count_; }

    // Main thread. Hands the writer over; returns its id, counting from 1.
    std::uint64_t add_writer(std::unique_ptr<Writer> writer);
    // Main thread.
    void push_command(Command command);
    // Main thread, on the pad's delivery: brings what was published for the pad into its views
    // and tells what changed since the last delivery through the signals, button transitions
    // in order, each with its own value.
    void collect_publication(std::size_t gamepad);
    // Main thread: the pad's views. Only the views may be read from there.
    const GamepadExchange& exchange(std::size_t gamepad) const { return gamepads_[gamepad]; }

Q_SIGNALS:
    void gamepad_changed(std::size_t gamepad);
    void gamepad_metadata_changed(std::size_t gamepad);
    void gamepad_any_metadata_changed();
    void gamepad_is_connected_changed(std::size_t gamepad);
    void gamepad_attribute_changed(std::size_t gamepad, std::size_t attribute);
    void virtual_gamepad_attach_error(QByteArray error, std::uint64_t generation);
    void virtual_gamepad_attach_success(std::size_t gamepad, std::uint64_t generation);

protected:
    void run() override;
    // Main thread: the deliveries.
    bool event(QEvent* event) override;

private:
    struct WriterEntry {
        std::uint64_t id;
        std::unique_ptr<Writer> writer;
    };

    // Polling thread, all of them.
    void tick();
    void process_commands();
    void run_command(Command& command);
    void write_empty_outputs();
    void run_writers(bool any_metadata_changed);
    void publish_gamepad(std::size_t gamepad);
    void refresh_metadata(std::size_t gamepad, GamepadExchange& exchange);
    // Polling thread: posts a delivery for a pad, or for the metadata of the tick.
    void post_delivery(std::size_t subject);
    // Main thread.
    void deliver(std::size_t gamepad, GamepadExchange& exchange);
    void deliver_any_metadata();

    std::unique_ptr<ReadThreadControl> control_;
    std::size_t gamepad_count_;
    std::uint64_t next_writer_id_ = 1;  // main thread; 0 means no writer
    Backend* backend_;
    std::vector<GamepadState> input_states_;
    std::vector<GamepadState> output_states_;
    std::vector<WriterEntry> writers_;
    QElapsedTimer refresh_timer_;
    std::vector<GamepadExchange> gamepads_;
    CommandQueue commands_;
    // Polling thread sets it (exchange) when it posts the tick's metadata news; the main thread
    // clears it (store) when that delivery runs.
    std::atomic<bool> any_metadata_pending_{false};
    std::size_t delivery_slot_count_;
    std::unique_ptr<DeliveryEvent::Slot[]> delivery_slots_;
    // Polling thread: the generation of the attached virtual pad and its index; 0 for none.
    std::uint64_t attached_generation_ = 0;
    std::size_t attached_pad_ = 0;
};

}  // namespace gamepad
