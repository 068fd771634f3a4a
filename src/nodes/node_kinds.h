#pragma once

#include <cstdint>

// What sets the node types of one class apart.
enum class ButtonEventKind : std::uint32_t { Press = 0, Release = 1 };
enum class ActionMode : std::uint32_t { Constant = 0, Noise = 1 };
