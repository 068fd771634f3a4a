#pragma once

#include <string>
#include <vector>

namespace hostkit::detail {

// Breaches of the host contract by the caller, in the order they happened. Any thread: the
// translation functions report from the polling thread too.
void record_violation(const char* function, const std::string& what);
std::vector<std::string> recorded_violations();
void clear_violations();

// A text quoted for a report; null shows as null.
std::string quoted(const char* text);

}  // namespace hostkit::detail
