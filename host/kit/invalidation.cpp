#include "kit/invalidation.h"

namespace hostkit::detail {

namespace {

int passes_running = 0;

}  // namespace

void note_pass_begun() {
    ++passes_running;
}

void note_pass_ended() {
    --passes_running;
}

void count_invalidation(InvalidationCount& count) {
    ++count.total;
    if (passes_running > 0) ++count.during_pass;
}

}  // namespace hostkit::detail
