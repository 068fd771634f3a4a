#include "backend/backend.h"
#include "gamepad/game.h"

namespace gamepad {

Game::Game() : Game(CoreSeams{[] { return create_backend(); }, nullptr}) {}

}  // namespace gamepad
