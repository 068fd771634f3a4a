#include "kit/violations.h"

#include <mutex>

namespace hostkit::detail {

namespace {

struct Violations {
    std::mutex mutex;
    std::vector<std::string> texts;
};

Violations& violations() {
    static Violations instance;
    return instance;
}

}  // namespace

void record_violation(const char* function, const std::string& what) {
    Violations& all = violations();
    std::lock_guard lock(all.mutex);
    all.texts.push_back(std::string(function) + ": " + what);
}

std::vector<std::string> recorded_violations() {
    Violations& all = violations();
    std::lock_guard lock(all.mutex);
    return all.texts;
}

void clear_violations() {
    Violations& all = violations();
    std::lock_guard lock(all.mutex);
    all.texts.clear();
}

std::string quoted(const char* text) {
    return text == nullptr ? std::string("null") : '"' + std::string(text) + '"';
}

}  // namespace hostkit::detail
