#include <QMessageLogger>

#include <algorithm>
#include <variant>

#include "backend/backend.h"
#include "gamepad/read_thread.h"
#include "gamepad/update_rate.h"
#include "records/carried_values.h"

namespace gamepad {

void ReadThread::run() {
    for (std::size_t i = 0; i < gamepad_count_; ++i) {
        gamepads_[i].metadata_changed = true;
        refresh_metadata(i, gamepads_[i]);
    }
    ReadThreadControl& control = *control_;
    bool driven = false;  // the devices hold what the writers of the last tick made
    for (;;) {
        if (control.state.load() == ReadThreadState::Run) {
            const std::int32_t rate = armable_rate(control.rate.load());
            if (rate != control.armed_rate) {
                control.armed_rate = rate;
                control.ticks->arm(tick_period_ms(rate));
            }
            control.ticks->wait_timer_or_event();
        }
        for (;;) {
            const ReadThreadState state = control.state.load();
            if (state == ReadThreadState::Run) break;
            // Motors and virtual-pad controls that the writers held must not outlast them.
            if (driven) write_empty_outputs();
            driven = false;
            if (state == ReadThreadState::Stop) {
                control.state.store(ReadThreadState::Stop);  // the end, for the destructor to see
                return;
            }
            // Paused: no pad is read or written, but commands run, those that were queued before
            // the pause and those the main thread wakes the thread for, so that switching the
            // virtual pad off takes effect although nobody polls.
            control.ticks->cancel();
            control.armed_rate = 0;
            process_commands();
            // A resume that came meanwhile ticks at once, and the answers go with that tick's
            // reads: so the pad that an attach brought is known when its answer is told.
            if (control.state.load() != ReadThreadState::Run) post_delivery(publish_notes());
            control.ticks->wait_event();
        }
        tick();
        driven = true;
    }
}

void ReadThread::tick() {
    process_commands();
    if (!refresh_timer_.isValid() || refresh_timer_.elapsed() >= 1000) {
        backend_->refresh_gamepads();
        refresh_timer_.start();
    }
    const bool any_metadata_changed = read_gamepads();
    drop_inactive_writers();
    run_writers(any_metadata_changed);
    write_gamepads();
    post_delivery(publish(any_metadata_changed));
}

void ReadThread::process_commands() {
    const std::unique_ptr<CommandQueue::Batch> batch = commands_.take();
    if (!batch) return;
    for (Command& command : *batch)
        run_command(command);
}

void ReadThread::run_command(Command& command) {
    if (auto* add = std::get_if<AddWriter>(&command)) {
        add->writer->resolve(*backend_);
        writers_.push_back({add->id, std::move(add->writer)});
    } else if (const auto* remove = std::get_if<RemoveWriter>(&command)) {
        const auto found = std::find_if(writers_.begin(), writers_.end(),
                                        [&](const WriterEntry& e) { return e.id == remove->id; });
        if (found != writers_.end()) writers_.erase(found);
    } else if (const auto* attach = std::get_if<AttachVirtualGamepad>(&command)) {
        // One virtual pad at most: an attach that overtook the detach of the pad before
        // replaces that pad, and the detach, when it comes, finds nothing of its generation.
        if (attached_generation_ != 0) backend_->detach_virtual_gamepad(attached_pad_);
        std::size_t gamepad = 0;
        const AttachResult result = backend_->attach_virtual_gamepad(attach->kind, gamepad);
        const bool attached = result == AttachResult::Success;
        attached_generation_ = attached ? attach->generation : 0;
        attached_pad_ = gamepad;
        notes_.note_answer(
            {.generation = attach->generation,
             .failed = !attached,
             .gamepad = gamepad,
             .error = attached ? QByteArray() : backend_->attach_error_text(attach->kind, result)});
        notes_changed_ = true;
    } else if (const auto* detach = std::get_if<DetachVirtualGamepad>(&command)) {
        if (detach->generation != attached_generation_) return;
        attached_generation_ = 0;
        backend_->detach_virtual_gamepad(detach->gamepad);
    }
}

// Each pad's reads, and outputs that start the tick empty, both sized to its metadata. A pad that
// reads as before costs its read and nothing else; outputs that no writer touched stay as they
// are, empty.
bool ReadThread::read_gamepads() {
    bool any_metadata_changed = false;
    for (std::size_t i = 0; i < gamepad_count_; ++i) {
        GamepadExchange& exchange = gamepads_[i];
        GamepadState& input = input_states_[i];
        if (input.values.size() != exchange.metadata.attributes.size())
            input.values.assign(exchange.metadata.attributes.size(), AttributeValue());
        const ReadFlags flags = backend_->read_gamepad(i, input);
        exchange.read_unchanged = flags.testFlag(ReadFlag::Unchanged);
        if (flags.testFlag(ReadFlag::MetadataChanged)) {
            exchange.metadata_changed = true;
            refresh_metadata(i, exchange);
            QMessageLogger().debug("Gamepad: updated metadata of gamepad %i with %i attributes",
                                   static_cast<int>(i),
                                   static_cast<int>(exchange.metadata.attributes.size()));
        }
        std::vector<AttributeValue>& output = output_states_[i].values;
        if (outputs_touched_ || output.size() != exchange.metadata.attributes.size())
            output.assign(exchange.metadata.attributes.size(), AttributeValue());
        any_metadata_changed = any_metadata_changed || exchange.metadata_changed;
    }
    return any_metadata_changed;
}

void ReadThread::refresh_metadata(std::size_t gamepad, GamepadExchange& e) {
    const CarriedValues carried(e.metadata.attributes, e.state.values);
    e.metadata.name = backend_->gamepad_name(gamepad);
    e.metadata.capabilities = backend_->gamepad_capabilities(gamepad);
    const std::size_t count = backend_->attribute_count(gamepad);
    e.metadata.attributes.resize(count);
    e.state.values.resize(count);
    for (std::size_t a = 0; a < count; ++a) {
        const AttributeInfo& row = backend_->attribute_info(gamepad, a);
        GamepadAttribute& attribute = e.metadata.attributes[a];
        attribute.id = QByteArray(row.id);
        attribute.type = row.type;
        attribute.direction = row.direction;
        attribute.label = backend_->attribute_label(gamepad, a);
        e.state.values[a] = carried.value_for(attribute.id);
    }
}

// One at a time, so that a writer that gives up is gone before the next one is asked.
void ReadThread::drop_inactive_writers() {
    for (std::size_t w = 0; w < writers_.size();) {
        if (writers_[w].writer->is_active()) {
            ++w;
        } else {
            writers_.erase(writers_.begin() + static_cast<std::ptrdiff_t>(w));
        }
    }
}

void ReadThread::run_writers(bool any_metadata_changed) {
    outputs_touched_ = !writers_.empty();
    for (WriterEntry& entry : writers_) {
        if (any_metadata_changed) entry.writer->resolve(*backend_);
        entry.writer->apply(input_states_, output_states_);
    }
}

void ReadThread::write_gamepads() {
    for (std::size_t i = 0; i < gamepad_count_; ++i)
        backend_->write_gamepad(i, output_states_[i]);
}

void ReadThread::write_empty_outputs() {
    for (GamepadState& output : output_states_)
        std::fill(output.values.begin(), output.values.end(), AttributeValue());
    write_gamepads();
}

}  // namespace gamepad
