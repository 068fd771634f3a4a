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
// Main thread, all of it.
class GamepadDelivery {
public:
    // True if `view` brings other metadata than the users have; the values they were told then
    // move to the attributes' new positions.
    bool take_metadata(const GamepadPublication& view);
    // True if `view` brings another connection state than the users have.
    bool take_connection(const GamepadPublication& view);

    // Calls `changed(position)` for each change: the button transitions first, oldest first,
    // then every attribute whose value differs from what the users were told (with the buttons
    // whose transitions fell out of the record). `view` ends as it came.
    template <typename Changed>
    void replay(GamepadPublication& view, Changed&& changed) {
        std::vector<AttributeValue>& shown = view.state.values;
        final_values_ = shown;
        const std::vector<GamepadAttribute>& attributes = view.metadata.attributes;
        const std::size_t count = std::min({attributes.size(), shown.size(), told_.size()});
        view.transitions.for_each_after(sequence_, [&](const ButtonTransition& t) {
            sequence_ = t.sequence;
            if (t.attribute >= count || told_[t.attribute].as_button() == t.pressed) return;
            told_[t.attribute] = shown[t.attribute] = AttributeValue::make_button(t.pressed);
            changed(std::size_t{t.attribute});
        });
        for (std::size_t a = 0; a < count; ++a) {
            if (!attribute_value_changed(attributes[a].type, told_[a], final_values_[a])) continue;
            told_[a] = shown[a] = final_values_[a];
            changed(a);
        }
        shown = final_values_;
        told_ = final_values_;
    }

    // Set while a delivery runs, so that one that a user's nested event loop starts waits for
    // it to end, and asks it to collect `again`.
    bool delivering = false;
    bool again = false;

private:
    std::uint64_t metadata_generation_ = 0;
    std::uint64_t sequence_ = 0;  // of the last button transition told
    bool is_connected_ = false;
    std::vector<GamepadAttribute> attributes_;  // as told: their ids key the carried values
    std::vector<AttributeValue> told_;          // by position in attributes_
    std::vector<AttributeValue> final_values_;  // scratch of one delivery
};

}  // namespace gamepad
