#pragma once

#include <string>
#include <vector>

#include "kit/panel.h"

namespace zesthost {

// The last pass of a panel as a person would read it: one line per control, groups indented,
// list entries below their list with the selected one marked (*).
std::vector<std::string> panel_lines(const hostkit::Panel& panel);

// The simulated pads: what each user index holds, how it is held, and its rumble; then the
// virtual pads the bus driver has plugged and what their last report shows.
std::vector<std::string> pad_lines();

}  // namespace zesthost
