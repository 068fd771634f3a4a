#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "hostapi/host_api.h"
#include "kit/handles.h"
#include "kit/invalidation.h"

namespace hostkit {

// A destination of events. It records the ids of the events posted to it, in order.
class Sink : public detail::HandleOwner<Sink, ZestSink, detail::HandleKind::Sink> {
public:
    Sink() = default;

    const std::vector<std::uint64_t>& posted() const { return posted_; }
    void clear() { posted_.clear(); }
    // Called after each post: where a host routes the event on.
    void set_listener(std::function<void()> listener) { listener_ = std::move(listener); }
    // Called first on each post, before anything is recorded: a bench's clock.
    void set_tap(std::function<void()> tap) { tap_ = std::move(tap); }

    // Main thread, from zest_event_post.
    void record(std::uint64_t event_id) {
        if (tap_) tap_();
        posted_.push_back(event_id);
        if (listener_) listener_();
    }

private:
    std::vector<std::uint64_t> posted_;
    std::function<void()> listener_;
    std::function<void()> tap_;
};

// The host's side of one node instance; its address is the ZestNode handle. Main thread.
class Node : public detail::HandleOwner<Node, ZestNode, detail::HandleKind::Node> {
public:
    Node() = default;

    // Where the node sends events that it originates, and where it passes received ones on.
    Sink& child_sink() { return child_; }
    Sink& parent_sink() { return parent_; }
    const Sink& child_sink() const { return child_; }
    const Sink& parent_sink() const { return parent_; }

    InvalidationCount name_invalidations() const { return name_invalidations_; }
    InvalidationCount properties_invalidations() const { return properties_invalidations_; }

    // From zest_node_invalidate_name and zest_node_invalidate_properties.
    void invalidate_name() { detail::count_invalidation(name_invalidations_); }
    void invalidate_properties() { detail::count_invalidation(properties_invalidations_); }

private:
    Sink child_;
    Sink parent_;
    InvalidationCount name_invalidations_;
    InvalidationCount properties_invalidations_;
};

}  // namespace hostkit
