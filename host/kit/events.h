#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "hostapi/host_api.h"
#include "kit/ledger.h"

namespace hostkit::detail {

// The events in flight. Each has an id, counted from 1 since the last reset, which is what
// sinks record. Locks, like the rest of the kit's global state.
class EventTable {
public:
    ZestEvent create();
    // The id of a live event; none, without a violation, for any other.
    std::optional<std::uint64_t> id_of(ZestEvent event);
    // The same, with a violation against `function` when the event is not live.
    std::optional<std::uint64_t> use(ZestEvent event, const char* function);
    void destroy(ZestEvent event, const char* function);
    std::size_t live_count() const;

    // Events never destroyed.
    std::vector<std::string> problems() const;
    void reset();

private:
    struct Event {
        std::uint64_t id;
    };

    void report_not_live(ZestEvent event, const char* function) const;

    mutable std::mutex mutex_;
    Ledger<Event> events_;
    std::uint64_t next_id_ = 1;
};

}  // namespace hostkit::detail
