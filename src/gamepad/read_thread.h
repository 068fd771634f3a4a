#pragma once

#include <QElapsedTimer>
#include <QThread>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "gamepad/command_queue.h"
#include "gamepad/delivery_event.h"
#include "gamepad/delivery_notes.h"
#include "gamepad/gamepad_exchange.h"
#include "gamepad/read_thread_control.h"

namespace gamepad {

class Backend;

// The polling thread. The object lives on the main thread; run() is the thread, which has no
// event loop. Each tick it runs the commands, reads every pad, lets the writers override what
// goes out, writes to the devices, and publishes what the pads reported if it changed. It then
// posts one delivery, unless one is still waiting: however long the main thread is held up, one
// delivery waits for it. A delivery runs on the main thread, collects every pad and the notes
// (attach answers, metadata news) at once and only then emits the signals, so that whatever a
// user looks at in a handler is already as new as what it is told.
class ReadThread : public QThread {
    Q_OBJECT

public:
    // Main thread. Does not start the thread. Without `ticks` it ticks by the platform's timer.
    explicit ReadThread(Backend* backend, std::unique_ptr<platform::TickSource> ticks = nullptr);
    // Main thread. Stops and joins the thread, also a paused one, then frees what is left.
    ~ReadThread() override;

    // Either thread: the control block's fields say who may touch them.
    ReadThreadControl& control() { return *control_; }
    std::size_t gamepad_count() const { return gamepad_count_; }

    // Main thread. Hands the writer over; returns its id, counting from 1.
    std::uint64_t add_writer(std::unique_ptr<Writer> writer);
    // Main thread.
    void push_command(Command command);
    // Main thread, on a delivery: brings what was published into the views and tells what
    // changed since the last delivery through the signals, the button transitions of all pads
    // in the order they happened, each with its own value, and then the notes in theirs.
    void collect_publication();
    // Main thread: the pad's views. Only the views may be read from there.
    const GamepadExchange& exchange(std::size_t gamepad) const { return gamepads_[gamepad]; }

    // Main thread, from collect_publication only: a handler may read every pad's views.
Q_SIGNALS:
    void gamepad_changed(std::size_t gamepad);
    void gamepad_metadata_changed(std::size_t gamepad);
    void gamepad_any_metadata_changed();
    void gamepad_is_connected_changed(std::size_t gamepad);
    void gamepad_attribute_changed(std::size_t gamepad, std::size_t attribute);
    void virtual_gamepad_attach_error(QByteArray error, std::uint64_t generation);
    void virtual_gamepad_attach_success(std::size_t gamepad, std::uint64_t generation);

protected:
    // Polling thread: the loop, in read_thread_polling.cpp.
    void run() override;
    // Main thread: the deliveries, in read_thread_delivery.cpp.
    bool event(QEvent* event) override;

private:
    struct WriterEntry {
        std::uint64_t id;
        std::unique_ptr<Writer> writer;
    };

    // One delivery waits and one is delivered; a nested event loop inside a delivery may want a
    // third.
    static constexpr std::size_t delivery_slot_count = 3;

    // Polling thread, every one of them: the tick and its steps, in read_thread_polling.cpp.
    void tick();
    void process_commands();
    void run_command(Command& command);
    // True if any pad's metadata changed.
    bool read_gamepads();
    void refresh_metadata(std::size_t gamepad, GamepadExchange& exchange);
    void drop_inactive_writers();
    void run_writers(bool any_metadata_changed);
    void write_gamepads();
    void write_empty_outputs();

    // Polling thread, every one of them: towards the main thread, in read_thread_publishing.cpp.
    // The publish steps are true if they published.
    bool publish(bool any_metadata_changed);
    bool publish_gamepad(std::size_t gamepad);
    bool publish_notes();
    // Posts a delivery for `news`, or for what a lost one left uncollected.
    void post_delivery(bool news);
    // Whether any channel holds a publication that the main thread has not collected.
    bool uncollected_news() const;

    // Main thread, every one of them: the delivery's steps, in read_thread_delivery.cpp.
    void tell_pads();
    void tell_transitions();
    void tell_notes();

    // Made on the main thread before the thread starts and fixed from then on.
    std::unique_ptr<ReadThreadControl> control_;
    std::size_t gamepad_count_;
    Backend* backend_;  // only the polling thread calls it

    // Between the threads: each says who writes and who reads.
    std::vector<GamepadExchange> gamepads_;
    CommandQueue commands_;
    PublicationChannel<DeliveryNotes> notes_channel_;
    // Polling thread sets it (exchange) when it posts a delivery; the main thread clears it
    // (store) before it collects, and so does a delivery that Qt destroys undelivered.
    std::atomic<bool> delivery_pending_{false};
    std::unique_ptr<DeliveryEvent::Slot[]> delivery_slots_;

    // Polling thread only.
    std::vector<GamepadState> input_states_;
    std::vector<GamepadState> output_states_;
    std::vector<WriterEntry> writers_;
    QElapsedTimer refresh_timer_;
    bool outputs_touched_ = false;        // a writer may have set outputs since they were emptied
    bool awaiting_collection_ = false;    // news was posted that the main thread may not have taken
    std::uint64_t transition_order_ = 0;  // counts the transitions of all pads
    DeliveryNotes notes_;
    bool notes_changed_ = false;
    // The generation of the attached virtual pad and its index; 0 for none.
    std::uint64_t attached_generation_ = 0;
    std::size_t attached_pad_ = 0;

    // Main thread only.
    std::uint64_t next_writer_id_ = 1;  // 0 means no writer
    std::uint64_t told_note_ = 0;       // the sequence of the last note told
    // The pads that the running delivery collected, and whether a nested event loop of a user
    // asked for another delivery while it ran.
    std::vector<bool> collected_;
    bool delivering_ = false;
    bool again_ = false;
};

}  // namespace gamepad
