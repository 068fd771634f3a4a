#pragma once

#include <QByteArray>
#include <QObject>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "gamepad/command.h"
#include "gamepad/game.h"
#include "gamepad/update_rate.h"
#include "gamepad/virtual_gamepad_state.h"

namespace gamepad {

class Gamepads;
class ReadThread;

// The core behind Game: owns the backend, the polling thread and one GamepadImpl per pad, counts
// its users and runs the virtual pad's state machine. Main thread, all of it.
class Game::Impl : public QObject {
    Q_OBJECT

public:
    explicit Impl(CoreSeams seams);
    ~Impl() override;

    // The only way to the pads. The first user starts the core, or resumes it.
    std::unique_ptr<Gamepads> use();
    // For Gamepads' destructor: the last user pauses the core.
    void release();
    // The first time, makes the backend and the polling thread; later, resumes a paused one.
    void start();
    // Applies no range: the polling thread copes with any rate.
    void set_update_rate(std::int32_t rate);
    // Brings the virtual pad in line with the setting; called at every preferences pass.
    void set_virtual_gamepad_enabled(bool enabled);

    std::int32_t update_rate() const { return update_rate_; }
    std::size_t use_count() const { return use_count_; }
    Backend* backend() const { return backend_.get(); }
    ReadThread* read_thread() const { return read_thread_.get(); }
    const std::vector<std::unique_ptr<GamepadImpl>>& gamepads() const { return gamepads_; }
    VirtualGamepadState virtual_gamepad_state() const { return virtual_gamepad_state_; }
    std::int32_t virtual_gamepad_index() const { return virtual_gamepad_index_; }
    const QByteArray& virtual_gamepad_error() const { return virtual_gamepad_error_; }

    // Connected to the polling thread's signals by start().
    void forward_metadata_changed(std::size_t gamepad);
    void forward_is_connected_changed(std::size_t gamepad);
    void forward_attribute_changed(std::size_t gamepad, std::size_t attribute);
    // Answers to an attach other than the latest are late: they never touch the state, and a
    // pad that came up with one goes again.
    void on_attach_error(QByteArray error, std::uint64_t generation);
    void on_attach_success(std::size_t gamepad, std::uint64_t generation);

Q_SIGNALS:
    void metadata_changed();
    void virtual_gamepad_state_changed();

private:
    void set_virtual_gamepad_state(VirtualGamepadState state);
    void detach(std::size_t gamepad, std::uint64_t generation);
    void push_virtual_gamepad_command(Command command);

    CoreSeams seams_;
    std::int32_t update_rate_ = default_update_rate;
    std::size_t use_count_ = 0;
    std::unique_ptr<Backend> backend_;
    std::unique_ptr<ReadThread> read_thread_;
    std::vector<std::unique_ptr<GamepadImpl>> gamepads_;
    VirtualGamepadState virtual_gamepad_state_ = VirtualGamepadState::Disabled;
    std::int32_t virtual_gamepad_index_ = -1;
    QByteArray virtual_gamepad_error_;
    std::uint64_t attach_generation_ = 0;  // of the latest attach sent
};

}  // namespace gamepad
