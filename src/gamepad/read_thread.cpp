#include "gamepad/read_thread.h"

#include <QCoreApplication>
#include <QMessageLogger>

#include <algorithm>
#include <variant>

#include "backend/backend.h"
#include "platform/tick_timer.h"
#include "records/carried_values.h"
#include "records/value_change.h"

namespace gamepad {
namespace {

// One note waits and one is delivered; a nested event loop inside a delivery may want a third.
constexpr std::size_t delivery_slot_count = 3;

}  // namespace

std::int32_t armable_rate(std::int32_t rate) noexcept {
    return rate == 0 ? 1 : rate;
}

std::int32_t tick_period_ms(std::int32_t rate) noexcept {
    return std::max<std::int32_t>(1, 1000 / armable_rate(rate));
}

ReadThread::ReadThread(Backend* backend, std::unique_ptr<platform::TickSource> ticks)
    : control_(std::make_unique<ReadThreadControl>()),
      gamepad_count_(backend->gamepad_count()),
      backend_(backend),
      input_states_(gamepad_count_),
      output_states_(gamepad_count_),
      gamepads_(gamepad_count_),
      delivery_slots_(std::make_unique<DeliveryEvent::Slot[]>(delivery_slot_count)),
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

bool ReadThread::publish_notes() {
    if (!notes_changed_) return false;
    notes_channel_.back() = notes_;
    notes_channel_.publish();
    notes_changed_ = false;
    return true;
}

void ReadThread::post_delivery(bool news) {
    // A delivery that Qt destroyed undelivered left its news in the channels: post it again.
    if (!news && (delivery_pending_.load() || !uncollected_news())) return;
    if (delivery_pending_.exchange(true)) return;
    QCoreApplication::postEvent(
        this, DeliveryEvent::make(delivery_slots_.get(), delivery_slot_count, &delivery_pending_));
}

bool ReadThread::uncollected_news() const {
    for (const GamepadExchange& exchange : gamepads_) {
        if (exchange.channel.uncollected()) return true;
    }
    return notes_channel_.uncollected();
}

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

void ReadThread::write_empty_outputs() {
    for (std::size_t i = 0; i < gamepad_count_; ++i) {
        std::vector<AttributeValue>& output = output_states_[i].values;
        std::fill(output.begin(), output.end(), AttributeValue());
        backend_->write_gamepad(i, output_states_[i]);
    }
}

void ReadThread::tick() {
    process_commands();
    if (!refresh_timer_.isValid() || refresh_timer_.elapsed() >= 1000) {
        backend_->refresh_gamepads();
        refresh_timer_.start();
    }
    bool any_metadata_changed = false;
    for (std::size_t i = 0; i < gamepad_count_; ++i) {
        GamepadExchange& exchange = gamepads_[i];
        std::vector<AttributeValue>& input = input_states_[i].values;
        input.clear();
        input.resize(exchange.metadata.attributes.size());
        if (backend_->read_gamepad(i, input_states_[i]).testFlag(ReadFlag::MetadataChanged)) {
            exchange.metadata_changed = true;
            refresh_metadata(i, exchange);
            QMessageLogger().debug("Gamepad: updated metadata of gamepad %i with %i attributes",
                                   static_cast<int>(i),
                                   static_cast<int>(exchange.metadata.attributes.size()));
        }
        std::vector<AttributeValue>& output = output_states_[i].values;
        output.clear();
        output.resize(exchange.metadata.attributes.size());
        any_metadata_changed = any_metadata_changed || exchange.metadata_changed;
    }
    // One at a time, so that a writer that gives up is gone before the next one is asked.
    for (std::size_t w = 0; w < writers_.size();) {
        if (writers_[w].writer->is_active()) {
            ++w;
        } else {
            writers_.erase(writers_.begin() + static_cast<std::ptrdiff_t>(w));
        }
    }
    run_writers(any_metadata_changed);
    bool news = false;
    for (std::size_t i = 0; i < gamepad_count_; ++i)
        news = publish_gamepad(i) || news;
    if (any_metadata_changed) {
        notes_.note_any_metadata();
        notes_changed_ = true;
    }
    news = publish_notes() || news;
    post_delivery(news);
}

void ReadThread::run_writers(bool any_metadata_changed) {
    for (WriterEntry& entry : writers_) {
        if (any_metadata_changed) entry.writer->resolve(*backend_);
        entry.writer->apply(input_states_, output_states_);
    }
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

bool ReadThread::publish_gamepad(std::size_t gamepad) {
    GamepadExchange& e = gamepads_[gamepad];
    const GamepadState& input = input_states_[gamepad];
    backend_->write_gamepad(gamepad, output_states_[gamepad]);
    if (e.metadata_changed) ++e.metadata_generation;
    bool values_changed = false;
    const std::size_t count =
        std::min({e.metadata.attributes.size(), e.state.values.size(), input.values.size()});
    for (std::size_t a = 0; a < count; ++a) {
        const AttributeType type = e.metadata.attributes[a].type;
        if (attribute_value_changed(type, e.state.values[a], input.values[a])) {
            values_changed = true;
            if (type == AttributeType::Button) {
                e.transitions.record(++transition_order_, e.metadata.attributes[a].id, a,
                                     input.values[a].as_button());
            }
        }
        e.state.values[a] = input.values[a];
    }
    const bool connection_changed = e.state.is_connected != input.is_connected;
    e.state.is_connected = input.is_connected;

    const bool news = connection_changed || e.metadata_changed || values_changed;
    if (news) {
        GamepadPublication& record = e.channel.back();
        if (record.metadata_generation != e.metadata_generation) {
            record.metadata = e.metadata;
            record.metadata_generation = e.metadata_generation;
        }
        record.state.is_connected = input.is_connected;
        record.state.values = input.values;
        record.transitions = e.transitions;
        e.channel.publish();
    }
    e.metadata_changed = false;
    return news;
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

}  // namespace gamepad
