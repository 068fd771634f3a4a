#include "kit/events.h"

#include "kit/violations.h"

namespace hostkit::detail {

ZestEvent EventTable::create() {
    std::lock_guard lock(mutex_);
    auto event = std::make_unique<Event>(Event{next_id_++});
    auto handle = reinterpret_cast<ZestEvent>(event.get());
    events_.add(handle, std::move(event));
    return handle;
}

std::optional<std::uint64_t> EventTable::id_of(ZestEvent event) {
    std::lock_guard lock(mutex_);
    const Event* live = events_.live(event);
    return live == nullptr ? std::nullopt : std::optional(live->id);
}

std::optional<std::uint64_t> EventTable::use(ZestEvent event, const char* function) {
    std::lock_guard lock(mutex_);
    if (const Event* live = events_.live(event)) return live->id;
    report_not_live(event, function);
    return std::nullopt;
}

void EventTable::destroy(ZestEvent event, const char* function) {
    std::lock_guard lock(mutex_);
    if (events_.release(event) == nullptr) report_not_live(event, function);
}

std::size_t EventTable::live_count() const {
    std::lock_guard lock(mutex_);
    return events_.live_payloads().size();
}

std::vector<std::string> EventTable::problems() const {
    std::lock_guard lock(mutex_);
    std::vector<std::string> problems;
    for (const Event* event : events_.live_payloads()) {
        problems.push_back("event " + std::to_string(event->id) + " never destroyed");
    }
    return problems;
}

void EventTable::report_not_live(ZestEvent event, const char* function) const {
    bool destroyed = events_.status(event) == Ledger<Event>::Status::Released;
    record_violation(function, destroyed ? "event already destroyed" : "unknown event");
}

void EventTable::reset() {
    std::lock_guard lock(mutex_);
    events_.clear();
    next_id_ = 1;
}

}  // namespace hostkit::detail
