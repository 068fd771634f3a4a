#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kit/node.h"
#include "kit/panel.h"
#include "kit/translation_file.h"
#include "support/kit_fixture.h"

namespace {

using hostkit::InvalidationCount;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const ZestHost host = hostkit::host_handle();

// Ends a builder as the plug-in does where the text must outlive the next call.
std::string ended(ZestTrBuilder builder) {
    char* text = zest_tr_end(builder);
    std::string copy(text);
    zest_string_destroy(text);
    return copy;
}

// Keys translate to themselves until given texts, which stay valid until reset. Arguments fill
// markers in the order of their numbers; into a buffer, at most 255 bytes are kept. Every misuse
// of builders and strings is reported.
TEST_F(KitTest, TranslationsAndEveryMisuseOfBuildersAndStrings) {
    const char* before = zest_plugin_tr(host, "Preferences.UpdateRate");
    EXPECT_STREQ(before, "Preferences.UpdateRate");
    EXPECT_EQ(zest_plugin_tr(host, nullptr), nullptr);
    hostkit::set_translation("Preferences.UpdateRate", "Update rate");
    const char* after = zest_plugin_tr(host, "Preferences.UpdateRate");
    EXPECT_STREQ(after, "Update rate");
    EXPECT_EQ(zest_plugin_tr(host, "Preferences.UpdateRate"), after);
    EXPECT_STREQ(before, "Preferences.UpdateRate");

    hostkit::set_translation("Node.Name.%1.%2", "%2: %1, %1 again");
    ZestTrBuilder builder = zest_plugin_tr_arg(host, "Node.Name.%1.%2");
    zest_tr_str(builder, "A%2");  // an argument's own marker is not filled again
    zest_tr_int(builder, -7);
    EXPECT_EQ(ended(builder), "-7: A%2, A%2 again");
    builder = zest_plugin_tr_arg(host, "GenericGamepad.Name.%1");
    zest_tr_str(builder, nullptr);
    EXPECT_EQ(ended(builder), "GenericGamepad.Name.");

    for (std::size_t length : {254u, 255u, 256u, 300u}) {
        hostkit::set_translation("Long.%1", std::string(length - 1, 'x') + "%1");
        char buffer[256];
        std::memset(buffer, '?', sizeof buffer);
        builder = zest_plugin_tr_arg(host, "Long.%1");
        zest_tr_int(builder, 5);
        zest_tr_end_str(builder, buffer);
        EXPECT_EQ(std::string(buffer), (std::string(length - 1, 'x') + "5").substr(0, 255));
    }
    EXPECT_EQ(ended(zest_plugin_tr_arg(host, "VirtualGamepad.Connected.%1")),
              "VirtualGamepad.Connected.%1");

    char* leaked = zest_tr_end(zest_plugin_tr_arg(host, "Leaked"));
    char* twice = zest_tr_end(zest_plugin_tr_arg(host, "Twice"));
    zest_string_destroy(twice);
    zest_string_destroy(twice);
    zest_string_destroy(nullptr);
    char own[] = "own";
    zest_string_destroy(own);
    ZestTrBuilder ended_builder = zest_plugin_tr_arg(host, "Ended.%1");
    zest_tr_int(ended_builder, 1);
    zest_string_destroy(zest_tr_end(ended_builder));
    zest_tr_int(ended_builder, 2);
    zest_plugin_tr_arg(host, "Open");
    zest_plugin_tr(nullptr, "Name");

    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("0 arguments for 1 markers"),
                            HasSubstr("zest_string_destroy: string destroyed twice"),
                            HasSubstr("zest_string_destroy: null string"),
                            HasSubstr("zest_string_destroy: string not made by zest_tr_end"),
                            HasSubstr("zest_tr_int: translation builder used after its end"),
                            HasSubstr("zest_plugin_tr: wrong host handle"),
                            HasSubstr("\"Open\" never ended"),
                            HasSubstr("\"Leaked\" from zest_tr_end never destroyed")));
    zest_string_destroy(leaked);
    hostkit::reset();
    EXPECT_THAT(hostkit::check(), IsEmpty());

    // The English table gives every key a text with the key's markers.
    EXPECT_FALSE(hostkit::load_translations("/nonexistent/en.json"));
    ASSERT_TRUE(hostkit::load_translations(ZEST_ENGLISH_TABLE));
    const auto table = hostkit::detail::read_translation_file(ZEST_ENGLISH_TABLE);
    ASSERT_TRUE(table.has_value());
    EXPECT_GE(table->size(), 100u);
    for (const auto& [key, expected] : *table) {
        const std::string text = zest_plugin_tr(host, key.c_str());
        EXPECT_EQ(text, expected);
        EXPECT_FALSE(text.empty()) << key;
        for (const char* marker : {"%1", "%2"})
            EXPECT_EQ(key.find(marker) == key.npos, text.find(marker) == text.npos) << key;
    }
}

// A store key holds one value of one type, and a string read keeps its address while other keys
// are set. Sinks record posts in order and every event is destroyed once. Every misuse is
// reported and changes nothing. (The registry is seen through the plug-in's exports.)
TEST_F(KitTest, StoresAndSinks) {
    hostkit::Store store;
    ZestStore handle = store.handle();
    zest_store_set_string(handle, "!attribute", "button_a");
    const char* text = zest_store_get_string(handle, "!attribute");
    zest_store_set_string(handle, "!gamepad", "another key");
    EXPECT_STREQ(text, "button_a");
    zest_store_set_int(handle, "!attribute", 7);
    EXPECT_EQ(zest_store_get_string(handle, "!attribute"), nullptr);
    EXPECT_EQ(zest_store_get_int(handle, "missing"), 0);
    EXPECT_FALSE(zest_store_has_int(handle, nullptr));
    hostkit::Node node;
    EXPECT_FALSE(zest_store_has_int(reinterpret_cast<ZestStore>(node.handle()), "!attribute"));
    zest_store_set_int(nullptr, "!attribute", 1);
    EXPECT_EQ(store.get<std::int32_t>("!attribute"), 7);

    ZestSink parent = zest_node_parent_sink(node.handle());
    ZestEvent made = zest_event_create();
    ZestEvent received = hostkit::create_event();
    zest_event_post(zest_node_child_sink(node.handle()), received);
    zest_event_post(parent, made);
    zest_event_post(parent, received);
    EXPECT_EQ(node.child_sink().posted(), std::vector<std::uint64_t>{2});
    EXPECT_EQ(hostkit::live_event_count(), 2u);
    zest_event_destroy(made);
    zest_event_destroy(made);
    zest_event_post(parent, made);
    zest_event_post(nullptr, received);
    EXPECT_EQ(node.parent_sink().posted(), (std::vector<std::uint64_t>{1, 2}));
    EXPECT_EQ(hostkit::live_event_count(), 1u);

    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("zest_store_get_string: \"!attribute\" holds no string"),
                            HasSubstr("zest_store_get_int: \"missing\" holds no int"),
                            HasSubstr("zest_store_has_int: null key"),
                            HasSubstr("zest_store_has_int: unknown store handle"),
                            HasSubstr("zest_store_set_int: unknown store handle"),
                            HasSubstr("zest_event_destroy: event already destroyed"),
                            HasSubstr("zest_event_post: event already destroyed"),
                            HasSubstr("zest_event_post: unknown sink handle"),
                            HasSubstr("event 2 never destroyed")));
}

// A scripted value wins over the store's, which keeps it; list entries are copied during the call.
// A pass replaces the controls of the one before, scripts last one pass, and invalidations during
// a pass are noted as such. (How each kind of control is recorded and which value it shows is
// seen in the plug-in's panels.)
TEST_F(KitTest, PanelPassesRecordTheirControls) {
    hostkit::Store store;
    hostkit::Panel panel(store);
    hostkit::Node node;
    store.set("!y", 10);
    panel.script_value("!y", 25);
    panel.script_click("Test");
    std::string long_label = "Gamepad 1 with a name beyond small strings";
    const char* labels[] = {"None", long_label.c_str()};
    int values[] = {-1, 0};
    EXPECT_EQ(zui_slider(panel.handle(), "!z", "Z", 3, 0, 9, 1), 3);
    zest_node_invalidate_name(node.handle());
    panel.run_pass([&](ZestPanel handle) {
        EXPECT_EQ(zui_slider(handle, "!y", "Y", 0, -100, 100, 1), 25);
        EXPECT_EQ(zui_list(handle, "feedgamepad", "Feed", nullptr, labels, values, 2, -1), -1);
        std::fill(long_label.begin(), long_label.end(), '#');
        values[1] = 7;
        EXPECT_FALSE(zui_button(handle, nullptr, "StopTest"));
        EXPECT_TRUE(zui_button(handle, nullptr, "Test"));
        EXPECT_FALSE(zui_button(handle, nullptr, "Test"));
        zest_node_invalidate_properties(node.handle());
        zest_node_invalidate_name(node.handle());
        zest_plugin_invalidate_preferences(hostkit::host_handle());
    });

    EXPECT_EQ(node.name_invalidations(), (InvalidationCount{2, 1}));
    EXPECT_EQ(node.properties_invalidations(), (InvalidationCount{1, 1}));
    EXPECT_EQ(hostkit::preferences_invalidations(), (InvalidationCount{1, 1}));
    EXPECT_EQ(store.get<std::int32_t>("!y"), 25);
    EXPECT_FALSE(store.contains("!z"));
    EXPECT_EQ(panel.controls().size(), 5u);
    EXPECT_EQ(panel.find_key("feedgamepad")->entries,
              (std::vector<hostkit::ListEntry>{{"None", -1},
                                               {"Gamepad 1 with a name beyond small strings", 0}}));

    panel.run_pass([](ZestPanel handle) {
        EXPECT_FALSE(zui_button(handle, nullptr, "Test"));
        EXPECT_EQ(zui_slider(handle, "!y", "Y", 0, -100, 100, 1), 25);
    });
    EXPECT_EQ(panel.controls().size(), 2u);
    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("zui_slider: called outside a panel pass")));
}

}  // namespace
