#include "plugin_fixture.h"

#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>

#include <unistd.h>

const hostkit::PluginExports& plugin() {
    static const hostkit::PluginExports exports = hostkit::open_plugin(ZEST_PLUGIN_PATH);
    return exports;
}

void PluginTest::SetUp() {
    KitTest::SetUp();
    ASSERT_TRUE(hostkit::load_translations(ZEST_ENGLISH_TABLE));
    zestsim::reset();
    plugin().set_handle(hostkit::host_handle());
    plugin().get_info(&info);
    EXPECT_EQ(plugin().load(registry.handle()), 0);
}

void PluginTest::TearDown() {
    plugin().unload();
    EXPECT_THAT(hostkit::check(), ::testing::IsEmpty());
    KitTest::TearDown();
}

std::unique_ptr<HostNode> PluginTest::make_node(const std::string& type) const {
    const std::string id = "io.zestworks.gamepad." + type;
    const hostkit::RegisteredNodeType* found = registry.find(id);
    if (found == nullptr) throw std::runtime_error("no type " + id);
    return std::make_unique<HostNode>(id, *found);
}

void PluginTest::build_preferences() {
    preferences_panel.run_pass(plugin().build_preferences);
}

bool PluginTest::rebuild_preferences_until(const std::function<bool()>& done) {
    int seen = -1;
    return eventually([&] {
        const int asked = hostkit::preferences_invalidations().total;
        if (asked != seen) {
            seen = asked;
            build_preferences();
        }
        return done();
    });
}

bool PluginTest::switch_virtual_pad(bool on) {
    preferences_panel.script_value("virtualenabled", on);
    build_preferences();
    // Until the pad is connected, with its name.
    return rebuild_preferences_until([&] {
        return on == (preferences_panel.find_key("feedgamepad") != nullptr &&
                      preferences_panel.find_text("Connected as ") == nullptr);
    });
}

bool PluginTest::await_pad_list(HostNode& node, std::size_t pads) {
    return eventually([&] {
        node.build();
        return node.panel.find_key("!gamepad")->entries.size() == pads;
    });
}

void PluginTest::select_attribute(HostNode& node, int pad, const std::string& label) {
    node.panel.script_value("!gamepad", pad);
    node.build();
    const hostkit::Control* attributes = node.panel.find_key("!attribute");
    ASSERT_NE(attributes, nullptr);
    for (const hostkit::ListEntry& entry : attributes->entries) {
        if (entry.label == label) node.panel.script_value("!attribute", entry.value);
    }
    node.build();
}

void PluginTest::await_reads(std::size_t pad, bool held) {
    const std::uint64_t before = zestsim::calls("XInputGetState", pad);
    ASSERT_TRUE(
        eventually([&] { return zestsim::calls("XInputGetState", pad) >= before + 2; }, held));
}

int thread_count() {
    // ThreadSanitizer starts a thread of its own with the first thread of the process; one
    // started and ended here keeps that thread out of what is counted. A joined thread may stay
    // listed for a moment on a busy machine, so the count waits until it is gone.
    static const bool runtime_started = [] {
        pid_t ended = 0;
        std::thread([&ended] { ended = gettid(); }).join();
        const std::filesystem::path task("/proc/self/task/" + std::to_string(ended));
        return eventually([&] { return !std::filesystem::exists(task); });
    }();
    (void)runtime_started;
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<int>(std::distance(begin(tasks), end(tasks)));
}
