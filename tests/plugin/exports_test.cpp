#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <tuple>
#include <vector>

#include "plugin_fixture.h"

namespace {

// The words a shell command prints.
std::set<std::string> words(const std::string& command) {
    std::set<std::string> found;
    FILE* pipe = popen(command.c_str(), "r");
    for (char word[512]; pipe != nullptr && std::fscanf(pipe, "%511s", word) == 1;)
        found.insert(word);
    if (pipe != nullptr) pclose(pipe);
    return found;
}

// The library offers the eight entry points and nothing else, and links the machine's device
// library, never the host's: the host functions come from the program that loads it.
TEST(PluginLibrary, ExportsTheEntryPointsOnlyAndLinksNoHostLibrary) {
    const std::string library = std::string(" '") + ZEST_PLUGIN_PATH + "'";
    EXPECT_EQ(words("nm -D -j --defined-only" + library),
              words("echo zplugin_sdk_version zplugin_set_handle zplugin_get_info zplugin_load "
                    "zplugin_unload zplugin_build_preferences zplugin_confirm_preferences "
                    "zplugin_migrate_load_preferences"));
    const std::set<std::string> needed = words("objdump -p" + library + " | grep NEEDED");
    EXPECT_TRUE(needed.contains("libzestsim.so") && !needed.contains("libzesthostkit.so"));
}

TEST_F(PluginTest, DescribesItselfWithItsIconAndRegistersItsTypesInOrder) {
    const auto tr = [](const char* key) { return zest_plugin_tr(hostkit::host_handle(), key); };
    EXPECT_EQ(plugin().sdk_version(), 1);
    EXPECT_EQ(
        (std::vector<std::string>{info.id, info.name, info.version, info.vendor, info.description}),
        (std::vector<std::string>{"io.zestworks.gamepad", tr("Name"), "0.9.4", "Zestworks",
                                  tr("Description")}));
    EXPECT_TRUE(info.contact != nullptr && *info.contact != '\0');
    EXPECT_EQ(info.reserved, nullptr);

    ASSERT_NE(info.icon, nullptr);
    EXPECT_EQ(info.icon->kind, 0u);
    std::ifstream icon_file(ZEST_ICON_PATH, std::ios::binary);
    const std::vector<char> png{std::istreambuf_iterator<char>(icon_file), {}};
    EXPECT_EQ(std::vector<char>(info.icon->data, info.icon->data + info.icon->size), png);

    // Type, name, and whether it is an event (the rest are actions), in registration order.
    const std::vector<std::tuple<std::string, std::string, bool>> table{
        {"onbuttonpress", "On Gamepad Button Press", true},
        {"onbuttonrelease", "On Gamepad Button Release", true},
        {"pressgamepadbutton", "Press Gamepad Button", false},
        {"pressgamepadtrigger", "Press Gamepad Trigger", false},
        {"movegamepadstick", "Move Gamepad Stick", false},
        {"rumblegamepad", "Rumble Gamepad", false},
        {"randompressgamepadbutton", "Randomly Press Gamepad Button", false},
        {"randompressgamepadtrigger", "Randomly Press Gamepad Trigger", false},
        {"wigglegamepadstick", "Wiggle Gamepad Stick", false}};
    ASSERT_EQ(registry.types().size(), table.size());
    const hostkit::RegisteredNodeType& first = registry.types().front();
    for (std::size_t i = 0; i < table.size(); ++i) {
        const auto& [id, name, event] = table[i];
        const hostkit::RegisteredNodeType& type = registry.types()[i];
        EXPECT_EQ((std::tuple{type.id, type.name, type.category, type.type_code(nullptr)}),
                  (std::tuple{"io.zestworks.gamepad." + id, name,
                              event ? "Gamepad Events" : "Gamepad Actions", event ? 41 : 35}));
        EXPECT_TRUE(type.reserved == nullptr && type.destroy == first.destroy &&
                    type.after_load == first.after_load && type.before_save == first.before_save &&
                    type.create && type.receive_event && type.forward_event);
    }
    first.destroy(nullptr);
}

// Loading gives each attribute name an id in order of first sight, names no pad has too, and
// saving gives the name back. Anything else stays: ids the table lacks, other types, other keys.
// Unload is harmless when there is nothing to unload, and the plug-in can be described and
// loaded again afterwards, with a fresh table.
TEST_F(PluginTest, StoreHooksTurnNamesIntoIdsAndAReloadStartsAFreshTable) {
    const hostkit::RegisteredNodeType& hooks = registry.types().front();
    const std::vector<std::pair<hostkit::Store::Value, hostkit::Store::Value>> saved_and_loaded{
        {"button_a", 0}, {"button_turbo", 1}, {"button_a", 0}, {-1, -1},
        {2, 2},          {1000, 1000},        {2.5, 2.5}};
    for (const auto& [saved, loaded] : saved_and_loaded) {
        hostkit::Store store;
        store.set("!attribute", saved);
        store.set("!gamepad", "button_a");
        hooks.after_load(nullptr, store.handle());
        EXPECT_EQ(store.values().at("!attribute"), loaded);
        hooks.before_save(nullptr, store.handle());
        EXPECT_EQ(store.values().at("!attribute"), saved);
        EXPECT_EQ(store.values().at("!gamepad"), hostkit::Store::Value("button_a"));
        EXPECT_EQ(store.values().size(), 2u);
    }

    plugin().unload();
    plugin().unload();  // nothing left to unload
    PluginInfo fresh{};
    plugin().get_info(&fresh);
    hostkit::Registry second;
    plugin().load(second.handle());
    EXPECT_EQ(second.types().size(), registry.types().size());
    EXPECT_EQ(fresh.icon->size, 493);
    hostkit::Store store;
    store.set("!attribute", "motor_left");
    second.types()[0].after_load(nullptr, store.handle());
    EXPECT_EQ(store.get<std::int32_t>("!attribute"), 0);  // a fresh table counts from 0 again
}

}  // namespace
