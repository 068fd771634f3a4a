#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace hostkit::detail {

// What the kit hands out and the plug-in gives back exactly once: builders, strings, events.
// A released entry is kept for a while, so that a second release or a late use is recognised
// as such instead of landing on memory that a new entry reuses. Not locked: the owner locks.
template <typename Payload>
class Ledger {
public:
    enum class Status { Live, Released, Unknown };

    // `handle` is the address the plug-in will give back for this payload.
    void add(const void* handle, std::unique_ptr<Payload> payload) {
        entries_.insert_or_assign(handle, Entry{std::move(payload), next_order_++, true});
    }

    Status status(const void* handle) const {
        auto found = entries_.find(handle);
        if (found == entries_.end()) return Status::Unknown;
        return found->second.live ? Status::Live : Status::Released;
    }

    Payload* live(const void* handle) {
        auto found = entries_.find(handle);
        return found != entries_.end() && found->second.live ? found->second.payload.get()
                                                             : nullptr;
    }

    // The payload, now released, or null if the handle was not live.
    Payload* release(const void* handle) {
        Payload* payload = live(handle);
        if (payload == nullptr) return nullptr;
        entries_.at(handle).live = false;
        released_.push_back(handle);
        if (released_.size() > kept_released) {
            entries_.erase(released_.front());
            released_.pop_front();
        }
        return payload;
    }

    // Live payloads, oldest first.
    std::vector<const Payload*> live_payloads() const {
        std::vector<std::pair<std::uint64_t, const Payload*>> ordered;
        for (const auto& [handle, entry] : entries_) {
            if (entry.live) ordered.emplace_back(entry.order, entry.payload.get());
        }
        std::sort(ordered.begin(), ordered.end());
        std::vector<const Payload*> payloads;
        for (const auto& [order, payload] : ordered)
            payloads.push_back(payload);
        return payloads;
    }

    void clear() {
        entries_.clear();
        released_.clear();
    }

private:
    struct Entry {
        std::unique_ptr<Payload> payload;
        std::uint64_t order;
        bool live;
    };

    // Bounds the memory of a host that runs for days; a release older than this is forgotten.
    static constexpr std::size_t kept_released = std::size_t{1} << 16;

    std::unordered_map<const void*, Entry> entries_;
    std::deque<const void*> released_;
    std::uint64_t next_order_ = 0;
};

}  // namespace hostkit::detail
