#include "zesthost/graph.h"

#include <algorithm>

#include "kit/kit.h"

namespace zesthost {

GraphNode::GraphNode(std::string name_, const hostkit::RegisteredNodeType& type_, bool bypassed_)
    : name(std::move(name_)),
      type(type_),
      bypassed(bypassed_),
      instance(type.create(node.handle())) {}

GraphNode::~GraphNode() {
    type.destroy(instance);
}

void GraphNode::build() {
    builds_asked = node.properties_invalidations().total;
    panel.run_pass([this](ZestPanel handle) { type.build_properties(instance, handle); });
}

std::string GraphNode::display_name() const {
    char buffer[256] = {};
    type.get_name(instance, buffer);
    buffer[255] = '\0';
    return buffer;
}

Graph::Graph(Trace& trace) : trace_(trace) {}

Graph::~Graph() {
    clear();
}

GraphNode& Graph::add(const std::string& name, const hostkit::RegisteredNodeType& type,
                      const hostkit::Store& store, bool bypassed) {
    auto node = std::make_unique<GraphNode>(name, type, bypassed);
    for (const auto& [key, value] : store.values())
        node->store.set(key, value);
    listen(*node);
    nodes_.push_back(std::move(node));
    ++changes_;
    return *nodes_.back();
}

void Graph::connect(GraphNode& from, GraphNode& to) {
    from.children.push_back(&to);
    ++changes_;
}

void Graph::disconnect(GraphNode& from, GraphNode& to) {
    const auto edge = std::find(from.children.begin(), from.children.end(), &to);
    if (edge == from.children.end()) return;
    from.children.erase(edge);
    ++changes_;
}

void Graph::clear() {
    deliveries_.clear();
    nodes_.clear();
    ++changes_;
}

void Graph::send(GraphNode& to) {
    deliveries_.push_back({nullptr, &to, 1});
    if (!draining_) drain();
}

void Graph::remove(GraphNode& node) {
    for (const auto& other : nodes_)
        std::erase(other->children, &node);  // counted with the node
    std::erase_if(nodes_, [&](const auto& owned) { return owned.get() == &node; });
    ++changes_;
}

GraphNode* Graph::find(const std::string& name) const {
    auto found = std::find_if(nodes_.begin(), nodes_.end(),
                              [&](const auto& node) { return node->name == name; });
    return found == nodes_.end() ? nullptr : found->get();
}

GraphNode* Graph::find_panel(const hostkit::Panel& panel) const {
    auto found = std::find_if(nodes_.begin(), nodes_.end(),
                              [&](const auto& node) { return &node->panel == &panel; });
    return found == nodes_.end() ? nullptr : found->get();
}

void Graph::refresh() {
    for (const auto& node : nodes_) {
        if (node->node.properties_invalidations().total != node->builds_asked) node->build();
    }
}

void Graph::listen(GraphNode& node) {
    node.node.child_sink().set_listener([this, &node] { on_post(node, true); });
    node.node.parent_sink().set_listener([this, &node] { on_post(node, false); });
}

void Graph::on_post(GraphNode& from, bool originated) {
    trace_.line("event: " + from.name + (originated ? " fired" : " passed it on"));
    for (GraphNode* child : from.children)
        deliveries_.push_back({&from, child, depth_ + 1});
    if (!draining_) drain();
}

void Graph::drain() {
    draining_ = true;
    for (int delivered = 0; !deliveries_.empty(); ++delivered) {
        if (delivered == max_deliveries) {
            trace_.line("error: one event made " + std::to_string(max_deliveries) +
                        " deliveries; the graph has a cycle, the rest is dropped");
            deliveries_.clear();
            break;
        }
        const Delivery delivery = deliveries_.front();
        deliveries_.pop_front();
        if (delivery.depth > max_depth) {
            trace_.line("error: an event went through more than " + std::to_string(max_depth) +
                        " nodes, on its way to " + delivery.to->name +
                        "; the graph has a cycle, the event is dropped");
            continue;
        }
        GraphNode& to = *delivery.to;
        const std::string from = delivery.from == nullptr ? "host" : delivery.from->name;
        trace_.line("event: " + from + " -> " + to.name + (to.bypassed ? " (bypassed)" : ""));
        depth_ = delivery.depth;
        ZestEvent event = hostkit::create_event();
        if (to.bypassed) {
            to.forward(event);
        } else {
            to.receive(event);
        }
        depth_ = 0;
    }
    draining_ = false;
}

}  // namespace zesthost
