#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "gamepad/gamepad_publication.h"
#include "records/value_change.h"

namespace gamepad {

// What the main thread's users of one pad have been told so far, and how a newly collected
// publication is told to them. However many ticks one delivery covers, each button transition
// is told once, in order, and while it is told the pad's state shows that transition's value.
// The transitions of all pads are told merged by the order in which they happened, so one pad's
// replay is split in three: begin, a transition at a time, finish. Main thread, all of it.
class GamepadDelivery {
public:
    // True if `view` brings other metadata than the users have; the values they were told then
    // move to the attributes' new positions.
    bool take_metadata(const GamepadPublication& view);
    // True if `view` brings another connection state than the users have.
    bool take_connection(const GamepadPublication& view);

    // Starts telling `view`, whose values it keeps aside until finish().
    void begin(GamepadPublication& view);
    // The next transition to tell, or null when the pad has none left.
    // One that does not come after the last told ends the telling, so a damaged record can't
    // hold the main thread in a loop.
    const ButtonTransition* next_transition(const GamepadPublication& view) const {
        const ButtonTransition* next = view.transitions.next_after(sequence_);
        return next != nullptr && next->sequence > sequence_ ? next : nullptr;
    }
    // Tells that transition: the position at which the view now shows its value, or `none` when
    // it repeats what the users saw last or its attribute is gone.
    std::size_t tell(GamepadPublication& view, const ButtonTransition& transition);
    // Calls `changed(position)` for every attribute whose value still differs from what the
    // users were told (with the buttons whose transitions fell out of the record). `view` ends
    // as it came.
    template <typename Changed>
    void finish(GamepadPublication& view, Changed&& changed) {
        std::vector<AttributeValue>& shown = view.state.values;
        const std::vector<GamepadAttribute>& attributes = view.metadata.attributes;
        const std::size_t count = std::min({attributes.size(), shown.size(), told_.size()});
        for (std::size_t a = 0; a < count; ++a) {
            if (!attribute_value_changed(attributes[a].type, told_[a], final_values_[a])) continue;
            told_[a] = shown[a] = final_values_[a];
            changed(a);
        }
        shown = final_values_;
        told_ = final_values_;
    }

    static constexpr std::size_t none = static_cast<std::size_t>(-1);

private:
    std::uint64_t metadata_generation_ = 0;
    std::uint64_t sequence_ = 0;  // of the last button transition told
    bool is_connected_ = false;
    std::vector<GamepadAttribute> attributes_;  // as told: their ids key the carried values
    std::vector<AttributeValue> told_;          // by position in attributes_
    std::vector<AttributeValue> final_values_;  // scratch of one delivery
};

}  // namespace gamepad
