#pragma once

#include <cstdint>
#include <optional>

namespace zesthost {

// The virtual pad as other programs see it on the simulated machine: the first target the
// driver shows in XInput.
std::optional<std::uint32_t> shown_target();

}  // namespace zesthost
