#pragma once

#include "kit/events.h"
#include "kit/invalidation.h"
#include "kit/translator.h"

namespace hostkit::detail {

// The kit's global state, apart from violations and the set of live objects.
struct KitState {
    Translator translator;
    EventTable events;
    InvalidationCount preferences_invalidations;  // main thread
};

KitState& kit();

}  // namespace hostkit::detail
