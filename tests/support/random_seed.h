#pragma once

#include <cstdint>
#include <cstdlib>
#include <random>

namespace testsupport {

// The number in the environment variable `name`, or `otherwise` when it is not set.
inline std::uint64_t from_environment(const char* name, std::uint64_t otherwise) {
    const char* value = std::getenv(name);
    return value == nullptr ? otherwise : std::strtoull(value, nullptr, 10);
}

// A fresh seed for a randomized test, or the one in ZEST_RANDOM_SEED to replay a failed run.
// Tests print it with SCOPED_TRACE("ZEST_RANDOM_SEED=" + std::to_string(seed)).
inline std::uint64_t random_seed() {
    return from_environment("ZEST_RANDOM_SEED", std::random_device()());
}

}  // namespace testsupport
