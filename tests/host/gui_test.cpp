#include <QTest>
#include <QtWidgets>

#include <functional>
#include <string>
#include <tuple>

#include "gui/main_window.h"
#include "host/zesthost_fixture.h"
#include "zesthost/pad_names.h"
#include "zesthost/sim_machine.h"

namespace zesthost {
namespace {

constexpr std::uint16_t button_a = 0x1000;

// The visible widget of this name: a panel's widgets of an earlier pass may linger, hidden.
template <typename Widget>
Widget* shown(const QWidget& root, const char* name) {
    for (Widget* widget : root.findChildren<Widget*>(QString::fromUtf8(name))) {
        if (widget->isVisible()) return widget;
    }
    return nullptr;
}

// A click where a checkbox takes it, on its box.
void click_box(QCheckBox* box) {
    ASSERT_NE(box, nullptr);
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(6, box->height() / 2));
}

bool virtual_shows(std::uint16_t mask) {
    const auto serial = shown_target();
    return serial && (zestsim::target_report(*serial).buttons & mask) != 0;
}

// A person plugs a pad, switches the virtual pad on in the preferences, feeds it from the pad
// and presses A with the mouse: the plug-in mirrors it, and the window lights A on both pads.
// Then the graph: a file's nodes under the plug-in's names, a node added, given a pad in its
// panel, connected, bypassed and deleted; events reach the log with their time.
TEST_F(ZesthostTest, TheWindowDrivesTheVirtualPadAndTheGraph) {
    zestgui::MainWindow window(*session);
    window.show();
    // Lets the machine and the plug-in run, the window following, until `done`.
    auto until = [&](const std::function<bool()>& done) {
        return session->run_until([&] { return (window.refresh(), done()); }, 5000);
    };
    // Picks `text` in the shown list `name` once the list offers it; false if it never does.
    auto choose = [&](const char* name, const char* text) {
        const QString wanted = QString::fromUtf8(text);
        QComboBox* list = nullptr;
        const bool offered = until([&] {
            list = shown<QComboBox>(window, name);
            return list != nullptr && list->findText(wanted) >= 0;
        });
        if (offered) list->setCurrentIndex(list->findText(wanted));
        return offered;
    };

    auto* pad = shown<QWidget>(window, "pad0");
    click_box(shown<QCheckBox>(*pad, "plugged"));
    const auto* rate = shown<QSpinBox>(window, "updatems");
    ASSERT_NE(rate, nullptr);
    EXPECT_EQ(std::tuple(rate->minimum(), rate->maximum(), rate->value()),
              std::tuple(1, 1000, 240));
    click_box(shown<QCheckBox>(window, "virtualenabled"));
    ASSERT_TRUE(choose("feedgamepad", "Gamepad 1"));
    auto* a = shown<QPushButton>(*pad, "a");
    QTest::mousePress(a, Qt::LeftButton);
    ASSERT_TRUE(until([] { return virtual_shows(button_a); }));
    for (const QWidget* lit : {shown<QWidget>(window, "virtualpad"), pad})
        EXPECT_TRUE(shown<QPushButton>(*lit, "a")->property("lit").toBool())
            << lit->objectName().toStdString();
    QTest::mouseRelease(a, Qt::LeftButton);
    EXPECT_TRUE(until([] { return !virtual_shows(button_a); }));

    ASSERT_TRUE(window.load(ZEST_EXAMPLES "/demo.graph.json"));
    auto* nodes = shown<QListWidget>(window, "nodes");
    ASSERT_EQ(nodes->count(), 3);
    const GraphNode& on_a = *session->graph().find("on_a");
    EXPECT_TRUE(nodes->item(0)->text().startsWith(
        QString::fromStdString("on_a: " + on_a.display_name() + " \u2192 hold_b")));
    ASSERT_TRUE(choose("types", "Rumble Gamepad"));
    QTest::mouseClick(shown<QPushButton>(window, "add"), Qt::LeftButton);
    GraphNode* added = session->graph().find("rumblegamepad1");
    ASSERT_NE(added, nullptr);
    ASSERT_TRUE(choose("!gamepad", "Gamepad 1"));
    ASSERT_TRUE(choose("!attribute", "Small motor"));
    nodes->setCurrentRow(0);
    ASSERT_TRUE(choose("targets", "rumblegamepad1"));
    QTest::mouseClick(shown<QPushButton>(window, "connect"), Qt::LeftButton);
    EXPECT_EQ(on_a.children.back(), added);
    click_box(shown<QCheckBox>(window, "bypassed"));
    EXPECT_TRUE(nodes->item(0)->text().contains(QStringLiteral("(bypassed)")));

    zestsim::press(0, button_a, true);
    ASSERT_TRUE(until([&] { return on_a.originated() == 1; }));
    EXPECT_TRUE(shown<QPlainTextEdit>(window, "log")
                    ->toPlainText()
                    .contains(QRegularExpression(
                        QStringLiteral("\\[ *\\d+\\.\\d{3}\\] event: on_a fired"))));

    nodes->setCurrentRow(3);
    QTest::mouseClick(shown<QPushButton>(window, "delete"), Qt::LeftButton);
    EXPECT_EQ(session->graph().find("rumblegamepad1"), nullptr);
    EXPECT_EQ(on_a.children.size(), 1u);
}

}  // namespace
}  // namespace zesthost
