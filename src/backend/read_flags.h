#pragma once

#include <QFlags>

#include <cstdint>

namespace gamepad {

// What a read tells its caller beyond the state itself.
enum class ReadFlag : std::uint32_t {
    MetadataChanged = 1,  // name, capabilities or attribute list may differ: fetch them again
    // The pad reads as the last read left it, and the state was not touched. Never together
    // with MetadataChanged. Lets an idle tick skip everything that follows a read.
    Unchanged = 2,
};
Q_DECLARE_FLAGS(ReadFlags, ReadFlag)
Q_DECLARE_OPERATORS_FOR_FLAGS(ReadFlags)

}  // namespace gamepad
