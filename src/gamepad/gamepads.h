#pragma once

#include <QByteArray>
#include <QObject>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "gamepad/game.h"
#include "gamepad/virtual_gamepad_state.h"

namespace gamepad {

class Gamepad;

// One user's view of all pads; while it lives, the core runs. Comes from Game::Impl::use and
// must be gone before the Game. Main thread.
class Gamepads : public QObject {
    Q_OBJECT

public:
    explicit Gamepads(Game::Impl* impl);
    ~Gamepads() override;

    std::size_t count() const { return gamepads_.size(); }
    // Null for an index outside 0 .. count() - 1.
    Gamepad* gamepad(int index) const;
    VirtualGamepadState virtual_gamepad_state() const;
    std::int32_t virtual_gamepad_index() const;
    QByteArray virtual_gamepad_error() const;
    Game::Impl* impl() const { return impl_; }

Q_SIGNALS:
    void metadata_changed();
    void virtual_gamepad_state_changed();

private:
    Game::Impl* impl_;
    std::vector<std::unique_ptr<Gamepad>> gamepads_;
};

}  // namespace gamepad
