#pragma once

#include <optional>
#include <string>
#include <unordered_map>

namespace hostkit::detail {

// A translation table file: one JSON object of key to text, UTF-8. None if the file cannot be
// read or holds anything else.
std::optional<std::unordered_map<std::string, std::string>> read_translation_file(
    const std::string& path);

}  // namespace hostkit::detail
