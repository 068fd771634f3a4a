#include "backend/backend.h"

#include "backend/vigem_backend.h"

namespace gamepad {

Backend::~Backend() = default;

std::unique_ptr<Backend> create_backend() {
    return std::make_unique<ViGEmBackend>();
}

}  // namespace gamepad
