#include "gamepad/game.h"

#include "backend/backend.h"
#include "gamepad/game_impl.h"

namespace gamepad {

Game::Game(CoreSeams seams) : impl_(std::make_unique<Impl>(std::move(seams))) {}

Game::~Game() = default;

}  // namespace gamepad
