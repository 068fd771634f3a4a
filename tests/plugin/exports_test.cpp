#include <fstream>
#include <iterator>
#include <vector>

#include "dynamic_symbols.h"
#include "kit/kit.h"
#include "plugin_fixture.h"
#include "support/eventually.h"
#include "zestsim/zestsim.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::set<std::string> entry_points{"zplugin_sdk_version",
                                         "zplugin_set_handle",
                                         "zplugin_get_info",
                                         "zplugin_load",
                                         "zplugin_unload",
                                         "zplugin_build_preferences",
                                         "zplugin_confirm_preferences",
                                         "zplugin_migrate_load_preferences"};

const std::set<std::string> host_functions{"zest_plugin_tr",
                                           "zest_plugin_tr_arg",
                                           "zest_tr_str",
                                           "zest_tr_int",
                                           "zest_tr_end",
                                           "zest_tr_end_str",
                                           "zest_string_destroy",
                                           "zest_store_has_int",
                                           "zest_store_get_int",
                                           "zest_store_set_int",
                                           "zest_store_has_string",
                                           "zest_store_get_string",
                                           "zest_store_set_string",
                                           "zest_event_create",
                                           "zest_event_post",
                                           "zest_event_destroy",
                                           "zest_node_child_sink",
                                           "zest_node_parent_sink",
                                           "zest_node_invalidate_name",
                                           "zest_node_invalidate_properties",
                                           "zest_plugin_invalidate_preferences",
                                           "zest_register_node",
                                           "zui_start_group",
                                           "zui_end_group",
                                           "zui_label",
                                           "zui_button",
                                           "zui_checkbox",
                                           "zui_int",
                                           "zui_slider",
                                           "zui_float",
                                           "zui_list"};

std::vector<char> file_bytes(const char* path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::uint32_t big_endian(const unsigned char* bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
           std::uint32_t{bytes[2]} << 8 | bytes[3];
}

// The library offers the eight entry points and nothing else; it takes the host functions from
// the program that loads it and the device functions from the machine's library.
TEST(PluginLibrary, ExportsTheEntryPointsOnlyAndImportsHostAndDeviceFunctionsByName) {
    ASSERT_EQ(host_functions.size(), 31u);
    const DynamicSymbols symbols = read_dynamic_symbols(ZEST_PLUGIN_PATH);
    EXPECT_EQ(symbols.defined, entry_points);
    std::set<std::string> from_host;
    for (const std::string& name : symbols.undefined) {
        if (name.rfind("zest_", 0) == 0 || name.rfind("zui_", 0) == 0) from_host.insert(name);
    }
    EXPECT_EQ(from_host, host_functions);
    for (const char* name : {"XInputGetState", "XInputSetState", "XInputGetCapabilities",
                             "SetupDiGetClassDevsA", "DeviceIoControl", "CreateThread"}) {
        EXPECT_TRUE(symbols.undefined.contains(name)) << name;
    }
    EXPECT_TRUE(symbols.needed.contains("libzestsim.so"));
    EXPECT_FALSE(symbols.needed.contains("libzesthostkit.so"));
}

TEST_F(PluginTest, DescribesItselfWithItsIcon) {
    EXPECT_EQ(plugin().sdk_version(), 1);
    EXPECT_STREQ(info.id, "io.zestworks.gamepad");
    EXPECT_STREQ(info.name, zest_plugin_tr(hostkit::host_handle(), "Name"));
    EXPECT_STREQ(info.version, "0.9.4");
    EXPECT_STREQ(info.vendor, "Zestworks");
    ASSERT_NE(info.contact, nullptr);
    EXPECT_NE(std::string(info.contact), "");
    EXPECT_STREQ(info.description, zest_plugin_tr(hostkit::host_handle(), "Description"));
    EXPECT_EQ(info.reserved, nullptr);

    ASSERT_NE(info.icon, nullptr);
    EXPECT_EQ(info.icon->kind, 0u);
    ASSERT_EQ(info.icon->size, 493);
    const std::vector<char> png(info.icon->data, info.icon->data + info.icon->size);
    EXPECT_EQ(png, file_bytes(ZEST_ICON_PATH));
    const auto* bytes = reinterpret_cast<const unsigned char*>(png.data());
    EXPECT_EQ(std::string(png.data() + 12, 4), "IHDR");
    EXPECT_EQ(big_endian(bytes + 16), 32u);  // width
    EXPECT_EQ(big_endian(bytes + 20), 32u);  // height
    EXPECT_EQ(bytes[24], 8);                 // bits per channel
    EXPECT_EQ(bytes[25], 6);                 // RGBA

    PluginInfo again{};
    plugin().get_info(&again);  // a second description keeps the state and its icon
    EXPECT_EQ(again.icon, info.icon);
}

TEST_F(PluginTest, RegistersTheNineTypesInOrderWithSharedCallbacks) {
    struct Expected {
        const char* id;
        const char* name;
        const char* category;
        int type_code;
    };
    const std::vector<Expected> table{
        {"onbuttonpress", "On Gamepad Button Press", "Gamepad Events", 41},
        {"onbuttonrelease", "On Gamepad Button Release", "Gamepad Events", 41},
        {"pressgamepadbutton", "Press Gamepad Button", "Gamepad Actions", 35},
        {"pressgamepadtrigger", "Press Gamepad Trigger", "Gamepad Actions", 35},
        {"movegamepadstick", "Move Gamepad Stick", "Gamepad Actions", 35},
        {"rumblegamepad", "Rumble Gamepad", "Gamepad Actions", 35},
        {"randompressgamepadbutton", "Randomly Press Gamepad Button", "Gamepad Actions", 35},
        {"randompressgamepadtrigger", "Randomly Press Gamepad Trigger", "Gamepad Actions", 35},
        {"wigglegamepadstick", "Wiggle Gamepad Stick", "Gamepad Actions", 35}};
    ASSERT_EQ(registry.types().size(), table.size());
    const hostkit::RegisteredNodeType& first = registry.types().front();
    for (std::size_t i = 0; i < table.size(); ++i) {
        const hostkit::RegisteredNodeType& registered = registry.types()[i];
        SCOPED_TRACE(registered.id);
        EXPECT_EQ(registered.id, std::string("io.zestworks.gamepad.") + table[i].id);
        EXPECT_EQ(registered.name, table[i].name);
        EXPECT_EQ(registered.category, table[i].category);
        EXPECT_EQ(registered.type_code(nullptr), table[i].type_code);
        EXPECT_EQ(registered.reserved, nullptr);
        EXPECT_EQ(registered.destroy, first.destroy);
        EXPECT_EQ(registered.after_load, first.after_load);
        EXPECT_EQ(registered.before_save, first.before_save);
        EXPECT_NE(registered.create, nullptr);
        EXPECT_NE(registered.receive_event, nullptr);
        EXPECT_NE(registered.forward_event, nullptr);
    }
    first.destroy(nullptr);
}

// Loading is registration only: the polling thread comes with the first node, and unloading
// leaves no thread behind. Unload is harmless when there is nothing to unload, and the plug-in
// can be described and loaded again afterwards.
TEST_F(PluginTest, StartsThreadsOnlyForNodesAndLeavesNoneAfterUnload) {
    const int threads = thread_count();
    EXPECT_EQ(zestsim::calls("XInputGetState"), 0u);

    zestsim::plug_pad(0, zestsim::Subtype::Gamepad);
    auto node = make_node("io.zestworks.gamepad.onbuttonpress");
    EXPECT_TRUE(eventually([] { return zestsim::calls("XInputGetState") > 0; }));
    EXPECT_EQ(thread_count(), threads + 1);
    node.reset();

    plugin().unload();
    EXPECT_TRUE(eventually([&] { return thread_count() == threads; }));
    plugin().unload();

    PluginInfo fresh{};
    plugin().get_info(&fresh);
    hostkit::Registry second;
    plugin().load(second.handle());
    EXPECT_EQ(second.types().size(), registry.types().size());
    EXPECT_EQ(fresh.icon->size, 493);
    hostkit::Store store;
    store.set("!attribute", std::string("motor_left"));
    second.types()[0].after_load(nullptr, store.handle());
    EXPECT_EQ(store.get<std::int32_t>("!attribute"), 0);  // a fresh table counts from 0 again
    EXPECT_EQ(thread_count(), threads);
}

TEST_F(PluginTest, StoreHooksTurnAttributeNamesIntoIdsAndBack) {
    const hostkit::RegisteredNodeType& hooks = registry.types().front();
    const auto after_load = [&](hostkit::Store& store) {
        hooks.after_load(nullptr, store.handle());
    };
    const auto before_save = [&](hostkit::Store& store) {
        hooks.before_save(nullptr, store.handle());
    };
    hostkit::Store a;
    hostkit::Store turbo;
    hostkit::Store a_again;
    a.set("!attribute", std::string("button_a"));
    turbo.set("!attribute", std::string("button_turbo"));  // no pad has it
    a_again.set("!attribute", std::string("button_a"));
    after_load(a);
    after_load(turbo);
    after_load(a_again);
    EXPECT_EQ(a.get<std::int32_t>("!attribute"), 0);
    EXPECT_EQ(turbo.get<std::int32_t>("!attribute"), 1);
    EXPECT_EQ(a_again.get<std::int32_t>("!attribute"), 0);
    before_save(a);
    before_save(turbo);
    EXPECT_EQ(a.get<std::string>("!attribute"), "button_a");
    EXPECT_EQ(turbo.get<std::string>("!attribute"), "button_turbo");

    // Anything else is left as it is: ids the table lacks, other types, other keys.
    for (std::int32_t id : {-1, 2, 1000}) {
        hostkit::Store unknown;
        unknown.set("!attribute", id);
        before_save(unknown);
        after_load(unknown);
        EXPECT_EQ(unknown.get<std::int32_t>("!attribute"), id);
    }
    hostkit::Store other;
    other.set("!gamepad", std::string("button_a"));
    other.set("!attribute", 2.5);
    after_load(other);
    before_save(other);
    EXPECT_EQ(other.values().size(), 2u);
    EXPECT_EQ(other.get<double>("!attribute"), 2.5);
    EXPECT_EQ(other.get<std::string>("!gamepad"), "button_a");
}

}  // namespace
