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
// runs while someone holds a Gamepads from Impl::use. Main thread. It has no signals, so no meta
// object either: that keeps the platform's backend, which Game() names, out of programs that
// bring their own.
class Game : public QObject {
public:
    class Impl;
    class GamepadImpl;

    // The platform's backend and timer. Defined apart, in game_default.cpp.
    Game();
    explicit Game(CoreSeams seams);
    // Every Gamepads must be gone by now.
    ~Game() override;

    Impl& impl() const { return *impl_; }

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace gamepad
