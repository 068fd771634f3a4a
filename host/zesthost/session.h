#pragma once

#include <functional>
#include <string>

#include "kit/panel.h"
#include "kit/plugin_library.h"
#include "kit/registry.h"
#include "kit/store.h"
#include "zesthost/graph.h"
#include "zesthost/trace.h"

namespace zesthost {

// The plug-in in a host: loaded in the required order (handle, description, registration),
// with the preferences and a graph, and unloaded after every node is gone. Like zestdeck it
// keeps every panel open: whatever the plug-in asks to have rebuilt is rebuilt after the pass
// that asked. Main thread.
class Session {
public:
    // Throws std::runtime_error when the plug-in can't be loaded.
    Session(const std::string& plugin_path, Trace& trace);
    ~Session();

    const hostkit::Registry& registry() const { return registry_; }
    const PluginInfo& info() const { return info_; }
    Graph& graph() { return graph_; }
    hostkit::Store& preferences() { return preferences_; }
    hostkit::Panel& preferences_panel() { return preferences_panel_; }
    Trace& trace() { return trace_; }
    bool unloaded() const { return unloaded_; }

    // A node of a type with an empty store, its panel built once, as a user adds one.
    GraphNode& add_node(const std::string& name, const hostkit::RegisteredNodeType& type);

    void build_preferences();
    void confirm_preferences();
    // Replaces the graph and the preferences by a file's. Throws GraphFileError, and then
    // changes nothing.
    void load(const std::string& path);
    void save(const std::string& path);

    // Runs a pass of a panel of this session, the preferences or a node's, after the user
    // acted on it; then whatever that pass invalidated.
    void rebuild(hostkit::Panel& panel);
    // Rebuilds the panels the plug-in asked for.
    void refresh();
    // Delivers what is pending and rebuilds what was asked, once, without waiting.
    void settle();
    // Destroys every node, then unloads the plug-in, as the host does when it closes. The
    // panels keep their last pass; nothing calls the plug-in again.
    void unload();
    // Runs the event loop, refreshing panels, for a while or until `done`.
    void run_for(int milliseconds);
    bool run_until(const std::function<bool()>& done, int timeout_milliseconds);

private:
    Trace& trace_;
    hostkit::PluginExports plugin_;
    PluginInfo info_{};
    hostkit::Registry registry_;
    hostkit::Store preferences_;
    hostkit::Panel preferences_panel_{preferences_};
    int preferences_asked_ = 0;
    bool unloaded_ = false;
    Graph graph_;
};

}  // namespace zesthost
