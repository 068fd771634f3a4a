#pragma once

#include <functional>
#include <tuple>

#include "kit/plugin_library.h"
#include "support/eventually.h"
#include "support/kit_fixture.h"
#include "zesthost/graph.h"
#include "zesthost/panel_text.h"
#include "zestsim/zestsim.h"

// The real plug-in, loaded into this process as a host loads it. Loaded once; every case
// begins and ends with no plug-in state.
const hostkit::PluginExports& plugin();

// A node as the host holds it: zesthost's own.
using HostNode = zesthost::GraphNode;
// The last pass of a panel as a person reads it.
using zesthost::panel_lines;

// English texts, a new simulated machine, and the plug-in described and registered.
class PluginTest : public KitTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // A node of the type "io.zestworks.gamepad.<type>"; fails the case if there is none.
    std::unique_ptr<HostNode> make_node(const std::string& type) const;

    // One pass of the preferences panel.
    void build_preferences();
    // Builds the preferences panel again whenever the plug-in asks, as a host does, until `done`.
    bool rebuild_preferences_until(const std::function<bool()>& done);
    // Switches the virtual pad in the preferences, until the pad is connected (on) or not.
    bool switch_virtual_pad(bool on);
    // Chooses a pad, then the attribute of that label, as a user would in two passes.
    static void select_attribute(HostNode& node, int pad, const std::string& label);
    // Builds the node until its pad list offers `pads` entries: the pads' metadata reaches the
    // main thread after the first ticks.
    static bool await_pad_list(HostNode& node, std::size_t pads);
    // Lets the polling thread read the pad twice, so that a change isn't merged with the next.
    static void await_reads(std::size_t pad, bool held = false);

    PluginInfo info{};
    hostkit::Registry registry;
    hostkit::Store preferences;
    hostkit::Panel preferences_panel{preferences};
};

// Every field of a pad's state, to compare two.
inline auto fields(const zestsim::PadState& s) {
    return std::tuple(s.buttons, s.left_trigger, s.right_trigger, s.thumb_lx, s.thumb_ly,
                      s.thumb_rx, s.thumb_ry);
}

// Threads of this process now.
int thread_count();
