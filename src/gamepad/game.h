#pragma once

#include <QObject>

#include <functional>
#include <memory>

#include "platform/tick_source.h"

namespace gamepad {

class Backend;

// How the core reaches the machine: tests put fakes here.
struct CoreSeams {
    std::function<std::unique_ptr<Backend>()> make_backend;
    // Null: the platform's timer.
    std::function<std::unique_ptr<platform::TickSource>()> make_ticks;
};

// The entry object of the gamepad core, one per plug-in. Starts nothing by itself: the core
// runs while someone holds a Gamepads from Impl::use. Main thread.
class Game : public QObject {
    Q_OBJECT

public:
    class Impl;
    class GamepadImpl;

    // The platform's backend and timer.
    Game();
    explicit Game(CoreSeams seams);
    // Every Gamepads must be gone by now.
    ~Game() override;

    Impl& impl() const { return *impl_; }

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace gamepad
