#include "support/scripted_backend.h"

// Core tests bring their backends through CoreSeams; the platform's backend, which Game's
// default constructor names, is stood in for here so that they need no device layer.
std::unique_ptr<gamepad::Backend> gamepad::create_backend() {
    return std::make_unique<testsupport::ScriptedBackend>(std::vector<testsupport::ScriptedPad>(4));
}
