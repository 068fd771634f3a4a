#include "kit/handles.h"

#include <mutex>
#include <set>
#include <utility>

namespace hostkit::detail {

namespace {

// Keyed by kind too: a node and its first sink may share an address.
struct LiveHandles {
    std::mutex mutex;
    std::set<std::pair<const void*, HandleKind>> objects;
};

LiveHandles& live_handles() {
    static LiveHandles instance;
    return instance;
}

}  // namespace

void track_handle(void* object, HandleKind kind) {
    LiveHandles& live = live_handles();
    std::lock_guard lock(live.mutex);
    live.objects.emplace(object, kind);
}

void untrack_handle(void* object, HandleKind kind) {
    LiveHandles& live = live_handles();
    std::lock_guard lock(live.mutex);
    live.objects.erase({object, kind});
}

bool is_live_handle(const void* object, HandleKind kind) {
    LiveHandles& live = live_handles();
    std::lock_guard lock(live.mutex);
    return live.objects.contains({object, kind});
}

const char* handle_kind_name(HandleKind kind) {
    switch (kind) {
        case HandleKind::Registry:
            return "registry";
        case HandleKind::Node:
            return "node";
        case HandleKind::Sink:
            return "sink";
        case HandleKind::Panel:
            return "panel";
        case HandleKind::Store:
            return "store";
    }
    return "object";
}

}  // namespace hostkit::detail
