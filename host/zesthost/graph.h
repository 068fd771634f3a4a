#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kit/node.h"
#include "kit/panel.h"
#include "kit/registry.h"
#include "kit/store.h"
#include "zesthost/trace.h"

namespace zesthost {

// Where a window drew a node, kept in the graph file; none until a window placed it.
struct Place {
    double x = 0.0;
    double y = 0.0;
    bool operator==(const Place&) const = default;
};

// One node of the graph: the host's side of it (kit node, store, panel) and the plug-in's
// instance, made with it. Its panel counts as open: the host builds it again whenever the
// plug-in asks.
struct GraphNode {
    GraphNode(std::string name, const hostkit::RegisteredNodeType& type, bool bypassed = false);
    ~GraphNode();
    GraphNode(const GraphNode&) = delete;
    GraphNode& operator=(const GraphNode&) = delete;

    void build();  // one pass of the property panel
    std::string display_name() const;
    // Hands an event to the node, which owns it from then on.
    void receive(ZestEvent event) { type.receive_event(instance, event); }
    void forward(ZestEvent event) { type.forward_event(instance, event); }
    // Events the node sent of its own, and events it passed on.
    std::size_t originated() const { return node.child_sink().posted().size(); }
    std::size_t passed_on() const { return node.parent_sink().posted().size(); }

    const std::string name;
    const hostkit::RegisteredNodeType& type;
    bool bypassed;
    hostkit::Node node;
    hostkit::Store store;
    hostkit::Panel panel{store};
    std::vector<GraphNode*> children;
    std::optional<Place> place;
    void* instance;        // made last, once the host's side exists
    int builds_asked = 0;  // the properties invalidations already answered
};

// Nodes and edges. An event a node sends, of its own or passed on, reaches each of its
// children: through receive_event, or forward_event for a bypassed child. Deliveries run in
// order of posting, after the post that caused them. A chain longer than max_depth, or more
// than max_deliveries for one event, is cut with a message, so that a cycle can't hang the
// host. Main thread.
class Graph {
public:
    static constexpr int max_depth = 32;
    // Deliveries of one event at the most: a cycle that branches doubles them at every step.
    static constexpr int max_deliveries = 10000;

    explicit Graph(Trace& trace);
    ~Graph();

    // Creates the plug-in's instance at once; `store` is what the node starts with.
    GraphNode& add(const std::string& name, const hostkit::RegisteredNodeType& type,
                   const hostkit::Store& store, bool bypassed = false);
    void connect(GraphNode& from, GraphNode& to);
    // Removes one edge from `from` to `to`, if there is one.
    void disconnect(GraphNode& from, GraphNode& to);
    // An event from outside the graph, as the host's own trigger would send it.
    void send(GraphNode& to);
    // Destroys every node, children before nothing: the plug-in needs no order.
    void clear();

    // Destroys a node and every edge to it. Not while events are being delivered.
    void remove(GraphNode& node);

    GraphNode* find(const std::string& name) const;
    GraphNode* find_panel(const hostkit::Panel& panel) const;
    const std::vector<std::unique_ptr<GraphNode>>& nodes() const { return nodes_; }
    // Counts the nodes and edges added and removed, for views to notice.
    int changes() const { return changes_; }
    // Rebuilds the panels the plug-in asked to have rebuilt.
    void refresh();

private:
    struct Delivery {
        GraphNode* from;  // null for the host
        GraphNode* to;
        int depth;
    };

    void listen(GraphNode& node);
    void on_post(GraphNode& from, bool originated);
    void drain();

    Trace& trace_;
    std::vector<std::unique_ptr<GraphNode>> nodes_;
    std::deque<Delivery> deliveries_;
    bool draining_ = false;
    int depth_ = 0;  // of the delivery running now; 0 outside any
    int changes_ = 0;
};

}  // namespace zesthost
