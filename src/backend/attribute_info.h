#pragma once

#include "records/attribute_type.h"

namespace gamepad {

// A row of the attribute table: what a backend hands out about one attribute. Rows are
// constants of static lifetime.
struct AttributeInfo {
    const char* id;
    AttributeType type;
    AttributeDirection direction;
};

}  // namespace gamepad
