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

// Each attach has a generation of its own, counting from 1, which its answer carries back: so
// the main thread tells the answer to the latest attach from a late one.
struct AttachVirtualGamepad {
    std::size_t kind;
    std::uint64_t generation;
};

// Takes down the pad of that attach; dropped when a later attach has replaced it already.
struct DetachVirtualGamepad {
    std::size_t gamepad;
    std::uint64_t generation;
};

// What the main thread asks of the polling thread. A command that never runs destroys its
// writer with it.
using Command = std::variant<AddWriter, RemoveWriter, AttachVirtualGamepad, DetachVirtualGamepad>;

}  // namespace gamepad
