#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "records/gamepad_records.h"

namespace gamepad {

class Backend;

// A position on a pad's attribute list that names no attribute.
inline constexpr std::uint64_t no_attribute = std::numeric_limits<std::uint64_t>::max();

// A per-tick override. Built on the main thread, then owned by the polling thread, which alone
// calls the three operations, in the order is_active, then (on metadata changes) resolve, then
// apply.
class Writer {
public:
    virtual ~Writer() = default;

    // Polling thread. False ends the writer before any apply of the tick.
    virtual bool is_active() = 0;
    // Polling thread. Binds the writer to the present attribute lists; uses only
    // attribute_count and attribute_info.
    virtual void resolve(Backend& backend) = 0;
    // Polling thread, every tick. Reads what the pads reported, writes what goes to them; never
    // allocates.
    virtual void apply(const std::vector<GamepadState>& input_states,
                       std::vector<GamepadState>& output_states) = 0;
};

}  // namespace gamepad
