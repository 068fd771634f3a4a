#pragma once

#include <string>

#include "kit/violations.h"

namespace hostkit::detail {

enum class HandleKind { Registry, Node, Sink, Panel, Store };

// The set of kit objects alive now, by kind. Any thread. Only addresses are kept; `object` is
// not const because a constructor passes itself before it is initialised, which g++ would take
// for a read.
void track_handle(void* object, HandleKind kind);
void untrack_handle(void* object, HandleKind kind);
bool is_live_handle(const void* object, HandleKind kind);
const char* handle_kind_name(HandleKind kind);

// Base of every kit object that the plug-in holds by an opaque handle. The handle is the
// address of this base, so a handle that comes back is checked before it is followed: a stale
// or foreign one is a violation, not a crash.
template <typename Object, typename Handle, HandleKind kind>
class HandleOwner {
public:
    HandleOwner(const HandleOwner&) = delete;
    HandleOwner& operator=(const HandleOwner&) = delete;

    Handle handle() const { return reinterpret_cast<Handle>(const_cast<HandleOwner*>(this)); }

    // The object behind a handle, or null after recording a violation against `function`.
    static Object* resolve(Handle handle, const char* function) {
        auto* base = reinterpret_cast<HandleOwner*>(handle);
        if (is_live_handle(base, kind)) return static_cast<Object*>(base);
        record_violation(function, std::string("unknown ") + handle_kind_name(kind) + " handle");
        return nullptr;
    }

protected:
    HandleOwner() { track_handle(this, kind); }
    ~HandleOwner() { untrack_handle(this, kind); }
};

}  // namespace hostkit::detail
