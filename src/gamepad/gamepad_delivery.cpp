#include "gamepad/gamepad_delivery.h"

#include "records/carried_values.h"

namespace gamepad {

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

}  // namespace gamepad
