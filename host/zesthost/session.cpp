#include "zesthost/session.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <utility>

#include "kit/kit.h"
#include "zesthost/graph_file.h"

namespace zesthost {

Session::Session(const std::string& plugin_path, Trace& trace)
    : trace_(trace), plugin_(hostkit::open_plugin(plugin_path)), graph_(trace) {
    plugin_.set_handle(hostkit::host_handle());
    plugin_.get_info(&info_);
    plugin_.load(registry_.handle());
    trace_.line(std::string("loaded ") + info_.name + " " + info_.version + " by " + info_.vendor +
                ", " + std::to_string(registry_.types().size()) + " node types");
}

// Nodes hold parts of the plug-in's core, so they go before the plug-in is unloaded.
Session::~Session() {
    unload();
}

void Session::unload() {
    if (std::exchange(unloaded_, true)) return;
    graph_.clear();
    plugin_.unload();
}

GraphNode& Session::add_node(const std::string& name, const hostkit::RegisteredNodeType& type) {
    GraphNode& node = graph_.add(name, type, hostkit::Store{});
    node.build();
    trace_.line("node " + node.name + ": " + node.display_name());
    return node;
}

void Session::build_preferences() {
    preferences_asked_ = hostkit::preferences_invalidations().total;
    preferences_panel_.run_pass(plugin_.build_preferences);
}

void Session::confirm_preferences() {
    plugin_.confirm_preferences(preferences_.handle());
}

void Session::load(const std::string& path) {
    const GraphDescription description = read_graph_file(path, registry_);
    graph_.clear();
    preferences_.clear();
    for (const auto& [key, value] : description.preferences)
        preferences_.set(key, value);
    for (const NodeDescription& node : description.nodes) {
        hostkit::Store store;
        for (const auto& [key, value] : node.store)
            store.set(key, value);
        GraphNode& added = graph_.add(node.name, *registry_.find(node.type), store, node.bypassed);
        added.place = node.place;
        added.type.after_load(added.instance, added.store.handle());
    }
    for (const auto& [from, to] : description.edges)
        graph_.connect(*graph_.find(from), *graph_.find(to));
    plugin_.migrate_load_preferences(preferences_.handle());
    build_preferences();
    // A node follows its store only through a pass of its panel, so each gets one now.
    for (const auto& node : graph_.nodes())
        node->build();
    trace_.line("loaded " + path + ": " + std::to_string(description.nodes.size()) + " nodes, " +
                std::to_string(description.edges.size()) + " edges");
}

// The plug-in turns its ids back into names in a copy: the live stores keep the ids.
void Session::save(const std::string& path) {
    GraphDescription description;
    description.preferences = preferences_.values();
    for (const auto& node : graph_.nodes()) {
        hostkit::Store copy;
        for (const auto& [key, value] : node->store.values())
            copy.set(key, value);
        node->type.before_save(node->instance, copy.handle());
        description.nodes.push_back(
            {node->name, node->type.id, node->bypassed, copy.values(), node->place});
        for (const GraphNode* child : node->children)
            description.edges.emplace_back(node->name, child->name);
    }
    write_graph_file(path, description);
    trace_.line("saved " + path);
}

void Session::rebuild(hostkit::Panel& panel) {
    if (&panel == &preferences_panel_) {
        build_preferences();
    } else if (GraphNode* node = graph_.find_panel(panel)) {
        node->build();
    }
    refresh();
}

void Session::refresh() {
    if (unloaded_) return;
    if (hostkit::preferences_invalidations().total != preferences_asked_) build_preferences();
    graph_.refresh();
}

void Session::settle() {
    QCoreApplication::processEvents();
    refresh();
}

void Session::run_for(int milliseconds) {
    run_until([] { return false; }, milliseconds);
}

bool Session::run_until(const std::function<bool()>& done, int timeout_milliseconds) {
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        settle();
        if (done()) return true;
        if (clock.elapsed() >= timeout_milliseconds) return false;
        QThread::msleep(1);
    }
}

}  // namespace zesthost
