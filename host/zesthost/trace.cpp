#include "zesthost/trace.h"

namespace zesthost {

Trace::Trace(std::FILE* out) : out_(out) {
    clock_.start();
}

void Trace::line(const std::string& text) {
    std::fprintf(out_, "[%8.3f] %s\n", seconds(), text.c_str());
    std::fflush(out_);
}

void Trace::plain(const std::string& text) {
    std::fprintf(out_, "%s\n", text.c_str());
    std::fflush(out_);
}

double Trace::seconds() const {
    return static_cast<double>(clock_.nsecsElapsed()) / 1e9;
}

}  // namespace zesthost
