#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "kit/node.h"
#include "kit/panel.h"
#include "kit/registry.h"
#include "support/kit_fixture.h"

namespace {

using hostkit::ControlKind;
using hostkit::InvalidationCount;
using hostkit::ListEntry;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Ids = std::vector<std::uint64_t>;

// A set replaces value and type under the same key; a string read keeps its address while
// other keys are set. Reads of nothing and foreign handles are violations that change nothing.
TEST_F(KitTest, StoreKeysHoldOneValueOfOneType) {
    hostkit::Store store;
    ZestStore handle = store.handle();
    zest_store_set_string(handle, "!attribute", "button_a");
    EXPECT_TRUE(zest_store_has_string(handle, "!attribute"));
    const char* text = zest_store_get_string(handle, "!attribute");
    zest_store_set_string(handle, "!gamepad", "another key");
    EXPECT_STREQ(text, "button_a");
    zest_store_set_int(handle, "!attribute", 7);
    EXPECT_FALSE(zest_store_has_string(handle, "!attribute"));
    EXPECT_EQ(zest_store_get_int(handle, "!attribute"), 7);
    store.set("virtualenabled", true);
    EXPECT_FALSE(zest_store_has_int(handle, "virtualenabled"));
    EXPECT_THAT(hostkit::check(), IsEmpty());

    EXPECT_EQ(zest_store_get_string(handle, "!attribute"), nullptr);
    EXPECT_EQ(zest_store_get_int(handle, "missing"), 0);
    EXPECT_FALSE(zest_store_has_int(handle, nullptr));
    hostkit::Node node;
    EXPECT_FALSE(zest_store_has_int(reinterpret_cast<ZestStore>(node.handle()), "!attribute"));
    zest_store_set_int(nullptr, "!attribute", 1);
    EXPECT_EQ(store.get<std::int32_t>("!attribute"), 7);
    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("zest_store_get_string: \"!attribute\" holds no string"),
                            HasSubstr("zest_store_get_int: \"missing\" holds no int"),
                            HasSubstr("zest_store_has_int: null key"),
                            HasSubstr("zest_store_has_int: unknown store handle"),
                            HasSubstr("zest_store_set_int: unknown store handle")));
}

TEST_F(KitTest, SinksRecordPostsInOrderAndEveryEventIsDestroyedOnce) {
    hostkit::Node node;
    ZestSink parent = zest_node_parent_sink(node.handle());
    ZestEvent made = zest_event_create();
    ZestEvent received = hostkit::create_event();
    zest_event_post(zest_node_child_sink(node.handle()), received);
    zest_event_post(parent, made);
    zest_event_post(parent, received);
    EXPECT_EQ(node.child_sink().posted(), Ids{2});
    EXPECT_EQ(node.parent_sink().posted(), (Ids{1, 2}));
    EXPECT_EQ(hostkit::live_event_count(), 2u);

    zest_event_destroy(made);
    EXPECT_EQ(hostkit::event_id(made), std::nullopt);
    EXPECT_EQ(hostkit::event_id(received), 2u);
    zest_event_destroy(made);
    zest_event_post(parent, made);
    zest_event_post(nullptr, received);
    EXPECT_EQ(node.parent_sink().posted(), (Ids{1, 2}));
    EXPECT_EQ(hostkit::live_event_count(), 1u);
    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("zest_event_destroy: event already destroyed"),
                            HasSubstr("zest_event_post: event already destroyed"),
                            HasSubstr("zest_event_post: unknown sink handle"),
                            HasSubstr("event 2 never destroyed")));
}

int action_code(void*) {
    return 35;
}

TEST_F(KitTest, RegistryCopiesEachDescriptorDuringTheCallAndRefusesAnIdTwice) {
    hostkit::Registry registry;
    std::string name = "Press Gamepad Button";
    NodeTypeDescriptor descriptor{};
    descriptor.id = "io.zestworks.gamepad.pressgamepadbutton";
    descriptor.name = name.c_str();
    descriptor.category = "Actions";
    descriptor.type_code = &action_code;
    zest_register_node(registry.handle(), &descriptor);
    std::fill(name.begin(), name.end(), '#');
    descriptor.id = "io.zestworks.gamepad.rumblegamepad";
    zest_register_node(registry.handle(), &descriptor);
    zest_register_node(registry.handle(), &descriptor);
    zest_register_node(registry.handle(), nullptr);

    ASSERT_EQ(registry.types().size(), 2u);
    const hostkit::RegisteredNodeType& first = registry.types()[0];
    EXPECT_EQ(first.id, "io.zestworks.gamepad.pressgamepadbutton");
    EXPECT_EQ(first.name, "Press Gamepad Button");
    EXPECT_EQ(first.category, "Actions");
    EXPECT_EQ(first.type_code, &action_code);
    EXPECT_EQ(registry.find("io.zestworks.gamepad.rumblegamepad"), &registry.types()[1]);
    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("registered twice"), HasSubstr("no descriptor or no id")));
}

// A keyed control shows the scripted value, else the store's of its type, else the default, and
// keeps it in the store; list entries are copied during the call; scripts last one pass.
TEST_F(KitTest, PanelPassesRecordTheirControls) {
    hostkit::Store store;
    hostkit::Panel panel(store);
    store.set("!strength", 40);
    store.set("!x", std::string("of another type"));
    store.set("!y", 10);
    store.set("feedgamepad", 0);
    panel.script_value("!y", 25);
    panel.script_click("Test");
    std::vector<std::string> texts{"None", "Gamepad 1 with a name beyond small strings"};
    std::vector<const char*> labels{texts[0].c_str(), texts[1].c_str()};
    std::vector<int> values{-1, 0};
    ZestPanel handle = panel.handle();

    panel.begin_pass();
    EXPECT_EQ(zui_slider(handle, "!strength", "Strength", 100, 0, 100, 1), 40);
    EXPECT_EQ(zui_slider(handle, "!x", "X", 0, -100, 100, 1), 0);
    EXPECT_EQ(zui_slider(handle, "!y", "Y", 0, -100, 100, 1), 25);
    EXPECT_EQ(zui_list(handle, "feedgamepad", "Feed", nullptr, labels.data(), values.data(),
                       labels.size(), -1),
              0);
    std::fill(texts[1].begin(), texts[1].end(), '#');
    values.assign({7, 7});
    EXPECT_EQ(zui_list(handle, "empty", nullptr, nullptr, nullptr, nullptr, 0, 5), 5);
    EXPECT_TRUE(zui_checkbox(handle, "virtualenabled", "Enabled", true));
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(zui_float(handle, "!seconds", nullptr, 0.5, 0.001, infinity), 0.5);
    EXPECT_FALSE(zui_button(handle, nullptr, "StopTest"));
    EXPECT_TRUE(zui_button(handle, nullptr, "Test"));
    EXPECT_FALSE(zui_button(handle, nullptr, "Test"));
    panel.end_pass();

    EXPECT_EQ(store.get<std::int32_t>("!y"), 25);
    EXPECT_EQ(store.get<std::int32_t>("!x"), 0);
    EXPECT_EQ(store.get<bool>("virtualenabled"), true);
    EXPECT_EQ(store.get<double>("!seconds"), 0.5);
    const hostkit::Control* strength = panel.find_key("!strength");
    ASSERT_NE(strength, nullptr);
    EXPECT_EQ(strength->text, "Strength");
    EXPECT_EQ(strength->default_value, 100);
    EXPECT_EQ(strength->maximum, 100);
    EXPECT_EQ(strength->step, 1);
    EXPECT_EQ(strength->result, 40);
    EXPECT_EQ(
        panel.find_key("feedgamepad")->entries,
        (std::vector<ListEntry>{{"None", -1}, {"Gamepad 1 with a name beyond small strings", 0}}));
    EXPECT_EQ(panel.find_key("empty")->text, std::nullopt);
    EXPECT_EQ(panel.find_text("Test")->result, 1);

    panel.begin_pass();
    EXPECT_FALSE(zui_button(handle, nullptr, "Test"));
    EXPECT_EQ(zui_slider(handle, "!y", "Y", 0, -100, 100, 1), 25);
    panel.end_pass();
    EXPECT_EQ(panel.pass_count(), 2);
    EXPECT_EQ(panel.controls().size(), 2u);
    EXPECT_THAT(hostkit::check(), IsEmpty());
}

TEST_F(KitTest, PassesRecordGroupsAndLabelsAndNoteInvalidationsDuringThem) {
    hostkit::Store store;
    hostkit::Panel panel(store);
    hostkit::Node node;
    EXPECT_EQ(zui_slider(panel.handle(), "!x", "X", 3, 0, 9, 1), 3);
    zest_node_invalidate_name(node.handle());
    panel.run_pass([&node](ZestPanel handle) {
        zui_start_group(handle, nullptr);
        zui_label(handle, " ", "Preferences.UpdateRateDescription");
        zui_end_group(handle);
        zest_node_invalidate_properties(node.handle());
        zest_node_invalidate_name(node.handle());
        zest_plugin_invalidate_preferences(hostkit::host_handle());
    });

    EXPECT_EQ(node.name_invalidations(), (InvalidationCount{2, 1}));
    EXPECT_EQ(node.properties_invalidations(), (InvalidationCount{1, 1}));
    EXPECT_EQ(hostkit::preferences_invalidations(), (InvalidationCount{1, 1}));
    ASSERT_EQ(panel.controls().size(), 3u);
    EXPECT_EQ(panel.controls()[0].kind, ControlKind::StartGroup);
    EXPECT_EQ(panel.controls()[1].key, " ");
    EXPECT_EQ(panel.controls()[2].kind, ControlKind::EndGroup);
    EXPECT_FALSE(store.contains("!x"));
    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("zui_slider: called outside a panel pass")));
}

}  // namespace
