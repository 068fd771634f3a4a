#include "zesthost/trace.h"

#include <utility>

namespace zesthost {

Trace::Trace(std::FILE* out) : out_(out) {
    clock_.start();
}

void Trace::line(const std::string& text) {
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, "[%8.3f] ", seconds());
    std::fprintf(out_, "%s%s\n", stamp, text.c_str());
    std::fflush(out_);
    std::lock_guard lock(kept_mutex_);
    if (keeping_) kept_.push_back(stamp + text);
}

void Trace::keep_lines() {
    std::lock_guard lock(kept_mutex_);
    keeping_ = true;
}

std::vector<std::string> Trace::take_kept_lines() {
    std::lock_guard lock(kept_mutex_);
    return std::exchange(kept_, {});
}

void Trace::plain(const std::string& text) {
    std::fprintf(out_, "%s\n", text.c_str());
    std::fflush(out_);
}

double Trace::seconds() const {
    return static_cast<double>(clock_.nsecsElapsed()) / 1e9;
}

}  // namespace zesthost
