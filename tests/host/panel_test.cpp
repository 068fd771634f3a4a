#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "kit/node.h"
#include "kit/panel.h"
#include "support/kit_fixture.h"

namespace {

using hostkit::ControlKind;
using hostkit::InvalidationCount;
using hostkit::ListEntry;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using PanelTest = KitTest;

TEST_F(PanelTest, ListEntriesAreCopiedDuringTheCall) {
    hostkit::Store store;
    hostkit::Panel panel(store);
    std::vector<std::string> texts{"None", "Gamepad 1 with a name beyond small strings"};
    std::vector<const char*> labels{texts[0].c_str(), texts[1].c_str()};
    std::vector<int> values{-1, 0};
    panel.begin_pass();
    int chosen = zui_list(panel.handle(), "feedgamepad", "Feed", nullptr, labels.data(),
                          values.data(), labels.size(), -1);
    for (std::string& text : texts)
        std::fill(text.begin(), text.end(), '#');
    values.assign({7, 7});
    EXPECT_EQ(zui_list(panel.handle(), "empty", nullptr, nullptr, nullptr, nullptr, 0, 5), 5);
    panel.end_pass();

    EXPECT_EQ(chosen, -1);
    ASSERT_EQ(panel.controls().size(), 2u);
    const hostkit::Control& list = panel.controls()[0];
    EXPECT_EQ(list.kind, ControlKind::List);
    EXPECT_EQ(list.text, "Feed");
    EXPECT_EQ(list.entries, (std::vector<ListEntry>{
                                {"None", -1}, {"Gamepad 1 with a name beyond small strings", 0}}));
    EXPECT_TRUE(panel.controls()[1].entries.empty());
    EXPECT_EQ(panel.controls()[1].text, std::nullopt);
    EXPECT_THAT(hostkit::check(), IsEmpty());
}

TEST_F(PanelTest, ScriptedValueWinsOverTheStoresWhichWinsOverTheDefault) {
    hostkit::Store store;
    hostkit::Panel panel(store);
    store.set("!strength", 40);
    store.set("!x", std::string("of another type"));
    store.set("!gamepad", 9);
    store.set("!y", 10);
    panel.script_value("!y", 25);
    panel.script_click("Test");
    const char* label = "Gamepad 1";
    int value = 0;
    ZestPanel handle = panel.handle();

    panel.begin_pass();
    EXPECT_EQ(zui_slider(handle, "!strength", "Strength", 100, 0, 100, 1), 40);
    EXPECT_EQ(zui_slider(handle, "!x", "X", 0, -100, 100, 1), 0);
    EXPECT_EQ(zui_slider(handle, "!y", "Y", 0, -100, 100, 1), 25);
    EXPECT_EQ(zui_list(handle, "!gamepad", nullptr, nullptr, &label, &value, 1, -1), 9);
    EXPECT_TRUE(zui_checkbox(handle, "virtualenabled", "Enabled", true));
    EXPECT_EQ(
        zui_float(handle, "!seconds", nullptr, 0.5, 0.001, std::numeric_limits<double>::infinity()),
        0.5);
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
    EXPECT_EQ(panel.find_text("Test")->result, 1);

    panel.begin_pass();
    EXPECT_FALSE(zui_button(handle, nullptr, "Test"));
    EXPECT_EQ(zui_slider(handle, "!y", "Y", 0, -100, 100, 1), 25);
    panel.end_pass();
    EXPECT_EQ(panel.pass_count(), 2);
    EXPECT_EQ(panel.controls().size(), 2u);
    EXPECT_THAT(hostkit::check(), IsEmpty());
}

TEST_F(PanelTest, PassesRecordGroupsAndLabelsAndNoteInvalidationsDuringThem) {
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
    EXPECT_EQ(panel.controls()[0].text, std::nullopt);
    EXPECT_EQ(panel.controls()[1].key, " ");
    EXPECT_EQ(panel.controls()[2].kind, ControlKind::EndGroup);
    EXPECT_FALSE(store.contains("!x"));
    EXPECT_THAT(hostkit::check(),
                ElementsAre(HasSubstr("zui_slider: called outside a panel pass")));
}

}  // namespace
