#include "gamepad/gamepad_delivery.h"

#include "records/carried_values.h"

namespace gamepad {
namespace {

// Where the transition's attribute stands in `attributes`: mostly where it was recorded.
std::size_t position_of(const std::vector<GamepadAttribute>& attributes, const ButtonTransition& t,
                        std::size_t count) {
    if (t.attribute < count && attributes[t.attribute].id == t.id) return t.attribute;
    for (std::size_t a = 0; a < count; ++a) {
        if (attributes[a].id == t.id) return a;
    }
    return GamepadDelivery::none;
}

}  // namespace

bool GamepadDelivery::take_metadata(const GamepadPublication& view) {
    if (view.metadata_generation == metadata_generation_) return false;
    metadata_generation_ = view.metadata_generation;
    const CarriedValues carried(attributes_, told_);
    attributes_ = view.metadata.attributes;
    told_.resize(attributes_.size());
    for (std::size_t a = 0; a < attributes_.size(); ++a)
        told_[a] = carried.value_for(attributes_[a].id);
    return true;
}

bool GamepadDelivery::take_connection(const GamepadPublication& view) {
    if (view.state.is_connected == is_connected_) return false;
    is_connected_ = view.state.is_connected;
    return true;
}

void GamepadDelivery::begin(GamepadPublication& view) {
    final_values_ = view.state.values;
}

std::size_t GamepadDelivery::tell(GamepadPublication& view, const ButtonTransition& transition) {
    sequence_ = transition.sequence;
    std::vector<AttributeValue>& shown = view.state.values;
    const std::size_t count =
        std::min({view.metadata.attributes.size(), shown.size(), told_.size()});
    const std::size_t a = position_of(view.metadata.attributes, transition, count);
    if (a == none || told_[a].as_button() == transition.pressed) return none;
    told_[a] = shown[a] = AttributeValue::make_button(transition.pressed);
    return a;
}

}  // namespace gamepad
