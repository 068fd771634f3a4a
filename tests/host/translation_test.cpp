#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "support/kit_fixture.h"

namespace {

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
// markers in the order of their numbers; into a buffer, at most 255 bytes are kept.
TEST_F(KitTest, TranslationKeysTextsAndArguments) {
    const char* before = zest_plugin_tr(host, "Preferences.UpdateRate");
    EXPECT_STREQ(before, "Preferences.UpdateRate");
    EXPECT_EQ(zest_plugin_tr(host, nullptr), nullptr);
    hostkit::set_translation("Preferences.UpdateRate", "Update rate");
    hostkit::set_translation("Name", std::nullopt);
    const char* after = zest_plugin_tr(host, "Preferences.UpdateRate");
    EXPECT_STREQ(after, "Update rate");
    EXPECT_EQ(zest_plugin_tr(host, "Preferences.UpdateRate"), after);
    EXPECT_STREQ(before, "Preferences.UpdateRate");
    EXPECT_EQ(zest_plugin_tr(host, "Name"), nullptr);

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
    EXPECT_THAT(hostkit::check(), ElementsAre(HasSubstr("0 arguments for 1 markers")));
}

TEST_F(KitTest, EveryMisuseOfTranslationBuildersAndStringsIsReported) {
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
                ElementsAre(HasSubstr("zest_string_destroy: string destroyed twice"),
                            HasSubstr("zest_string_destroy: null string"),
                            HasSubstr("zest_string_destroy: string not made by zest_tr_end"),
                            HasSubstr("zest_tr_int: translation builder used after its end"),
                            HasSubstr("zest_plugin_tr: wrong host handle"),
                            HasSubstr("\"Open\" never ended"),
                            HasSubstr("\"Leaked\" from zest_tr_end never destroyed")));
    zest_string_destroy(leaked);
    hostkit::reset();
    EXPECT_THAT(hostkit::check(), IsEmpty());
}

TEST_F(KitTest, TwoThreadsTranslateAtOnceEachGettingItsOwnTexts) {
    hostkit::set_translation("GenericGamepad.Name.%1", "Gamepad %1");
    constexpr int count = 2000;
    auto check_names = [](int first) {
        for (int i = first; i < first + count; ++i) {
            ZestTrBuilder builder = zest_plugin_tr_arg(host, "GenericGamepad.Name.%1");
            zest_tr_int(builder, i);
            const std::string name = ended(builder) + zest_plugin_tr(host, "None");
            if (name != "Gamepad " + std::to_string(i) + "None") ADD_FAILURE() << name;
        }
    };
    std::thread other(check_names, count);
    check_names(0);
    other.join();
    EXPECT_THAT(hostkit::check(), IsEmpty());
}

TEST_F(KitTest, EnglishTableGivesEveryKeyAText) {
    EXPECT_FALSE(hostkit::load_translations("/nonexistent/en.json"));
    ASSERT_TRUE(hostkit::load_translations(ZEST_ENGLISH_TABLE));
    ZestTrBuilder builder = zest_plugin_tr_arg(host, "PressGamepadButtonNode.Name.%1.%2");
    zest_tr_str(builder, "A button");
    zest_tr_str(builder, "Gamepad 1");
    EXPECT_EQ(ended(builder), "Press A button (Gamepad 1)");

    QFile file(QStringLiteral(ZEST_ENGLISH_TABLE));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonObject table = QJsonDocument::fromJson(file.readAll()).object();
    EXPECT_GE(table.size(), 100);
    for (const QString& key : table.keys()) {
        const std::string text = zest_plugin_tr(host, key.toUtf8().constData());
        EXPECT_FALSE(text.empty()) << key.toStdString();
        for (const char* marker : {"%1", "%2"}) {
            EXPECT_EQ(key.contains(QLatin1String(marker)), text.find(marker) != std::string::npos)
                << key.toStdString();
        }
    }
}

}  // namespace
