#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kit/panel.h"
#include "zesthost/machine.h"
#include "zesthost/session.h"

namespace zesthost {

// The commands of scenario files and of the interactive host, one per line: build a graph, act
// on the panels as a user would, plug and press the simulated pads, wait, and expect. Main
// thread.
class Commands {
public:
    // Relative file names are taken from `directory`.
    Commands(Session& session, std::string directory, Machine& machine = host_machine());

    // Runs one line; blank lines and lines starting with # do nothing. False when the line
    // failed (an unknown command, bad arguments, an expectation not met): the trace says why.
    bool run(const std::string& line);
    bool quit_requested() const { return quit_; }
    static std::string help();

private:
    using Args = std::vector<std::string>;
    // Nothing when a condition holds, else what was found instead.
    using Verdict = std::optional<std::string>;

    bool dispatch(const Args& args);
    Verdict check(const Args& condition);
    bool wait(const Args& args);
    bool expect(const Args& args);
    bool set_value(const Args& args);
    bool click(const Args& args);
    bool show(const Args& args);
    bool add_node(const Args& args);
    bool connect(const Args& args);
    bool pad(const Args& args);
    bool driver(const Args& args);
    static bool after_unload(const std::string& command);
    int reported_user();
    std::optional<VirtualPad> shown_virtual_pad();
    bool fail(const std::string& message);

    // A node's panel, or the preferences for "preferences"; null, with a message, for none.
    hostkit::Panel* panel_named(const std::string& name);
    void rebuild(const std::string& name);
    GraphNode* node_named(const std::string& name);
    std::string path_of(const std::string& name) const;

    Session& session_;
    Machine& machine_;
    std::string directory_;
    int reported_user_ = -1;
    bool quit_ = false;
};

// A line split into words; "double quotes" keep blanks in one word.
std::vector<std::string> split_words(const std::string& line);

}  // namespace zesthost
