#pragma once

#include <QByteArray>
#include <QHash>

#include <vector>

#include "records/attribute_value.h"
#include "records/gamepad_records.h"

namespace gamepad {

// The values of a pad's old attribute list, keyed by attribute id, so that after a metadata
// change every attribute is compared against its own previous value wherever it now stands.
// Built before the list is rewritten; an id that stood twice keeps its first value.
class CarriedValues {
public:
    CarriedValues(const std::vector<GamepadAttribute>& attributes,
                  const std::vector<AttributeValue>& values);

    // The old value of `id`, kind included, or Empty for an attribute that is new.
    AttributeValue value_for(const QByteArray& id) const;

private:
    QHash<QByteArray, AttributeValue> values_by_id_;
};

}  // namespace gamepad
