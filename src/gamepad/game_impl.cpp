#include "gamepad/game_impl.h"

#include <QMessageLogger>

#include "backend/backend.h"
#include "gamepad/gamepad_impl.h"
#include "gamepad/gamepads.h"
#include "gamepad/read_thread.h"

namespace gamepad {

Game::Impl::Impl(CoreSeams seams) : seams_(std::move(seams)) {}

Game::Impl::~Impl() = default;

std::unique_ptr<Gamepads> Game::Impl::use() {
    if (use_count_ == 0) start();
    ++use_count_;
    return std::make_unique<Gamepads>(this);
}

void Game::Impl::release() {
    if (--use_count_ != 0 || !read_thread_) return;
    ReadThreadState running = ReadThreadState::Run;
    read_thread_->control().state.compare_exchange_strong(running, ReadThreadState::Pause);
}

void Game::Impl::start() {
    if (read_thread_) {
        if (!read_thread_->control().ticks->ready()) return;  // it never ran and never will
        ReadThreadState paused = ReadThreadState::Pause;
        if (read_thread_->control().state.compare_exchange_strong(paused, ReadThreadState::Run)) {
            read_thread_->control().ticks->set_event();
        }
        return;
    }
    backend_ = seams_.make_backend();
    read_thread_ = std::make_unique<ReadThread>(backend_.get(),
                                                seams_.make_ticks ? seams_.make_ticks() : nullptr);
    read_thread_->control().rate.store(update_rate_);
    for (std::size_t i = 0; i < read_thread_->gamepad_count(); ++i) {
        gamepads_.push_back(std::make_unique<GamepadImpl>(read_thread_.get(), i));
    }
    ReadThread* thread = read_thread_.get();
    connect(thread, &ReadThread::gamepad_any_metadata_changed, this, &Impl::metadata_changed);
    connect(thread, &ReadThread::gamepad_metadata_changed, this, &Impl::forward_metadata_changed);
    connect(thread, &ReadThread::gamepad_is_connected_changed, this,
            &Impl::forward_is_connected_changed);
    connect(thread, &ReadThread::gamepad_attribute_changed, this, &Impl::forward_attribute_changed);
    connect(thread, &ReadThread::virtual_gamepad_attach_error, this, &Impl::on_attach_error);
    connect(thread, &ReadThread::virtual_gamepad_attach_success, this, &Impl::on_attach_success);
    // Without its timer or event the thread would wait for ever, or not at all and spin: it
    // doesn't start, and the core stays paused, its pads unread, until it is destroyed.
    if (!thread->control().ticks->ready()) {
        thread->control().state.store(ReadThreadState::Pause);
        QMessageLogger().warning(
            "Gamepad: could not create the polling timer - gamepads are not read");
        return;
    }
    thread->start(QThread::NormalPriority);
}

void Game::Impl::set_update_rate(std::int32_t rate) {
    update_rate_ = rate;
    if (read_thread_) read_thread_->control().rate.store(rate);
}

void Game::Impl::set_virtual_gamepad_enabled(bool enabled) {
    if (!enabled) {
        if (virtual_gamepad_state_ == VirtualGamepadState::Connected) {
            detach(static_cast<std::size_t>(virtual_gamepad_index_), attach_generation_);
        }
        virtual_gamepad_index_ = -1;
        virtual_gamepad_error_.clear();
        set_virtual_gamepad_state(VirtualGamepadState::Disabled);
    } else if (virtual_gamepad_state_ == VirtualGamepadState::Disabled) {
        set_virtual_gamepad_state(VirtualGamepadState::Connecting);
        push_virtual_gamepad_command(AttachVirtualGamepad{0, ++attach_generation_});
    }
}

void Game::Impl::forward_metadata_changed(std::size_t gamepad) {
    if (gamepad < gamepads_.size()) Q_EMIT gamepads_[gamepad]->metadata_changed();
}

void Game::Impl::forward_is_connected_changed(std::size_t gamepad) {
    if (gamepad < gamepads_.size()) Q_EMIT gamepads_[gamepad]->is_connected_changed();
}

void Game::Impl::forward_attribute_changed(std::size_t gamepad, std::size_t attribute) {
    if (gamepad < gamepads_.size()) Q_EMIT gamepads_[gamepad]->attribute_changed(attribute);
}

void Game::Impl::on_attach_error(QByteArray error, std::uint64_t generation) {
    if (virtual_gamepad_state_ != VirtualGamepadState::Connecting) return;
    if (generation != attach_generation_) return;
    virtual_gamepad_index_ = -1;
    virtual_gamepad_error_ = std::move(error);
    set_virtual_gamepad_state(VirtualGamepadState::Error);
}

void Game::Impl::on_attach_success(std::size_t gamepad, std::uint64_t generation) {
    const bool latest = generation == attach_generation_;
    if (latest && virtual_gamepad_state_ == VirtualGamepadState::Connecting) {
        virtual_gamepad_index_ = static_cast<std::int32_t>(gamepad);
        virtual_gamepad_error_.clear();
        set_virtual_gamepad_state(VirtualGamepadState::Connected);
    } else if (!latest || virtual_gamepad_state_ != VirtualGamepadState::Connected) {
        detach(gamepad, generation);  // it came up after the setting went off, or was replaced
    }
}

void Game::Impl::set_virtual_gamepad_state(VirtualGamepadState state) {
    if (state == virtual_gamepad_state_) return;
    virtual_gamepad_state_ = state;
    Q_EMIT virtual_gamepad_state_changed();
}

void Game::Impl::detach(std::size_t gamepad, std::uint64_t generation) {
    push_virtual_gamepad_command(DetachVirtualGamepad{gamepad, generation});
}

// A paused thread runs commands only when woken; the virtual pad must follow the setting then
// too. Its pads stay unread until a user comes.
void Game::Impl::push_virtual_gamepad_command(Command command) {
    if (!read_thread_) return;
    read_thread_->push_command(std::move(command));
    ReadThreadControl& control = read_thread_->control();
    if (control.state.load() == ReadThreadState::Pause) control.ticks->set_event();
}

}  // namespace gamepad
