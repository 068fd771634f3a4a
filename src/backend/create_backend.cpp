#include "backend/backend.h"
#include "backend/vigem_backend.h"

namespace gamepad {

// Apart from Backend's own file, so that a program with another backend links no device code.
std::unique_ptr<Backend> create_backend() {
    return std::make_unique<ViGEmBackend>();
}

}  // namespace gamepad
