#include "backend/backend.h"

namespace gamepad {

Backend::~Backend() = default;

}  // namespace gamepad
