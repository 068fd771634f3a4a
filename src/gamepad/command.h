#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <variant>

#include "gamepad/writer.h"

namespace gamepad {

struct AddWriter {
    std::uint64_t id;
    std::unique_ptr<Writer> writer;
};

struct RemoveWriter {
    std::uint64_t id;
};

struct AttachVirtualGamepad {
    std::size_t kind;
};

struct DetachVirtualGamepad {
    std::size_t gamepad;
};

// What the main thread asks of the polling thread. A command that never runs destroys its
// writer with it.
using Command = std::variant<AddWriter, RemoveWriter, AttachVirtualGamepad, DetachVirtualGamepad>;

}  // namespace gamepad
