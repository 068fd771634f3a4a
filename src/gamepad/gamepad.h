#pragma once

#include <QObject>

#include <cstddef>

#include "gamepad/game.h"
#include "records/gamepad_records.h"

namespace gamepad {

// A user's handle of one pad, with its own copies of the pad's signals. Main thread.
class Gamepad : public QObject {
    Q_OBJECT

public:
    explicit Gamepad(Game::GamepadImpl* impl);

    // Null before the first delivery; valid until the next one, so not to be kept.
    const GamepadMetadata* metadata() const;
    const GamepadState* state() const;
    Game::GamepadImpl* impl() const { return impl_; }

Q_SIGNALS:
    void metadata_changed();
    void is_connected_changed();
    void attribute_changed(std::size_t attribute);

private:
    Game::GamepadImpl* impl_;
};

}  // namespace gamepad
