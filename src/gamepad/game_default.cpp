#include "backend/backend.h"
#include "gamepad/game.h"

namespace gamepad {

// Apart from the rest of Game, so that tests which bring their own backend don't need the
// platform's.
Game::Game() : Game(CoreSeams{[] { return create_backend(); }, nullptr}) {}

}  // namespace gamepad
