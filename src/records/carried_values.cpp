#include "records/carried_values.h"

#include <algorithm>

namespace gamepad {

CarriedValues::CarriedValues(const std::vector<GamepadAttribute>& attributes,
                             const std::vector<AttributeValue>& values) {
    const std::size_t count = std::min(attributes.size(), values.size());
    values_by_id_.reserve(static_cast<qsizetype>(count));
    for (std::size_t i = 0; i < count; ++i) {
        if (!values_by_id_.contains(attributes[i].id))
            values_by_id_.insert(attributes[i].id, values[i]);
    }
}

AttributeValue CarriedValues::value_for(const QByteArray& id) const {
    return values_by_id_.value(id, AttributeValue());
}

}  // namespace gamepad
