#pragma once

#include <string>
#include <vector>

#include "kit/panel.h"
#include "zesthost/machine.h"

namespace zesthost {

// The last pass of a panel as a person would read it: one line per control, groups indented,
// list entries below their list with the selected one marked (*).
std::vector<std::string> panel_lines(const hostkit::Panel& panel);

// The pads: what each user index holds, how it is held, and its rumble; then the virtual pads
// the bus driver has plugged and what XInput reports for them.
std::vector<std::string> pad_lines(Machine& machine, int reported_user);

}  // namespace zesthost
