#include <QTest>
#include <QtWidgets>

#include <functional>
#include <string>
#include <tuple>

#include "gui/main_window.h"
#include "gui/node_item.h"
#include "host/zesthost_fixture.h"
#include "zesthost/pad_names.h"
#include "zesthost/scenario.h"
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
// Then the graph on its canvas: a file's nodes, a node added and given a pad in its panel, a wire
// dragged to it, bypassed; a press lights the nodes it goes through and reaches the log with its
// time; the keyboard goes between nodes and deletes a wire and a node; a node dragged keeps its
// place through a save and a load. Qt's own messages stay out of the log.
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
    auto* canvas = shown<QGraphicsView>(window, "graph");
    ASSERT_NE(canvas, nullptr);
    // The canvas's boxes are named after their nodes.
    auto box = [&](const std::string& name) -> QGraphicsObject* {
        for (QGraphicsItem* item : canvas->scene()->items()) {
            QGraphicsObject* object = item->toGraphicsObject();
            if (object != nullptr && object->objectName().toStdString() == name) return object;
        }
        return nullptr;
    };
    auto on_screen = [&](const QGraphicsItem* item, QPointF local) {
        return canvas->mapFromScene(item->mapToScene(local));
    };
    // A drag on the canvas from `from` to `to`, in the view's points.
    auto drag = [&](QPoint from, QPoint to) {
        QTest::mousePress(canvas->viewport(), Qt::LeftButton, {}, from);
        QTest::mouseMove(canvas->viewport(), (from + to) / 2);
        QTest::mouseMove(canvas->viewport(), to);
        QTest::mouseRelease(canvas->viewport(), Qt::LeftButton, {}, to);
    };
    const QPointF child_side(zestgui::NodeItem::width, zestgui::NodeItem::height / 2);
    const QPointF middle(zestgui::NodeItem::width / 2, zestgui::NodeItem::height / 2);

    const GraphNode& on_a = *session->graph().find("on_a");
    ASSERT_TRUE(choose("types", "Rumble Gamepad"));
    QTest::mouseClick(shown<QPushButton>(window, "add"), Qt::LeftButton);
    GraphNode* added = session->graph().find("rumblegamepad1");
    ASSERT_NE(added, nullptr);
    ASSERT_TRUE(choose("!gamepad", "Gamepad 1"));
    ASSERT_TRUE(choose("!attribute", "Small motor"));
    drag(on_screen(box("on_a"), child_side), on_screen(box("rumblegamepad1"), middle));
    EXPECT_EQ(on_a.children.back(), added);
    QTest::mouseClick(canvas->viewport(), Qt::LeftButton, {},
                      on_screen(box("rumblegamepad1"), middle));
    click_box(shown<QCheckBox>(window, "bypassed"));
    EXPECT_TRUE(added->bypassed);

    // A press lights the nodes it goes through, and the bypassed one that passes it on.
    zestsim::press(0, button_a, true);
    ASSERT_TRUE(until([&] { return on_a.originated() == 1; }));
    for (const char* name : {"on_a", "hold_b", "rumble", "rumblegamepad1"})
        EXPECT_TRUE(box(name)->property("lit").toBool()) << name;
    EXPECT_TRUE(shown<QPlainTextEdit>(window, "log")
                    ->toPlainText()
                    .contains(QRegularExpression(
                        QStringLiteral("\\[ *\\d+\\.\\d{3}\\] event: on_a fired"))));

    // The keyboard: from on_a to the right, then the wire from on_a to the new node is
    // selected and deleted, then the node.
    QTest::mouseClick(canvas->viewport(), Qt::LeftButton, {}, on_screen(box("on_a"), middle));
    QTest::keyClick(canvas, Qt::Key_Right);
    ASSERT_EQ(canvas->scene()->selectedItems().size(), 1);
    EXPECT_EQ(canvas->scene()->selectedItems()[0]->toGraphicsObject()->objectName(),
              QStringLiteral("hold_b"));
    const QPointF parent_side = box("rumblegamepad1")->mapToScene(0.0, middle.y());
    for (QGraphicsItem* item : canvas->scene()->items()) {
        const auto* wire = dynamic_cast<const QGraphicsPathItem*>(item);
        if (wire == nullptr || wire->path().currentPosition() != parent_side) continue;
        const QPointF halfway = wire->path().pointAtPercent(0.5);
        QTest::mouseClick(canvas->viewport(), Qt::LeftButton, {}, canvas->mapFromScene(halfway));
    }
    QTest::keyClick(canvas, Qt::Key_Delete);
    EXPECT_EQ(on_a.children.size(), 1u);
    QTest::mouseClick(canvas->viewport(), Qt::LeftButton, {},
                      on_screen(box("rumblegamepad1"), middle));
    QTest::keyClick(canvas, Qt::Key_Delete);
    EXPECT_EQ(session->graph().find("rumblegamepad1"), nullptr);

    // A node dragged keeps its place through a save and a load.
    const QPointF before = box("rumble")->pos();
    drag(on_screen(box("rumble"), middle), on_screen(box("rumble"), middle + QPointF(-30, 90)));
    const QPointF moved = box("rumble")->pos();
    EXPECT_GT(moved.y(), before.y() + 40);
    ASSERT_TRUE(window.save(path("moved.graph.json")));
    ASSERT_TRUE(window.load(ZEST_EXAMPLES "/demo.graph.json"));
    EXPECT_NE(box("rumble")->pos(), moved);
    ASSERT_TRUE(window.load(path("moved.graph.json")));
    EXPECT_EQ(box("rumble")->pos(), moved);

    // Qt's own messages stay out of the event log, and the plug-in's go in.
    log_into(&trace, false);
    qWarning("This plugin does not support propagateSizeHints()");
    QMessageLogger().warning("Gamepad: a line of the plug-in's");
    log_into(nullptr, false);
    qInstallMessageHandler(nullptr);
    window.refresh();
    const QString log = shown<QPlainTextEdit>(window, "log")->toPlainText();
    EXPECT_TRUE(log.contains(QStringLiteral("log: Gamepad: a line of the plug-in's")));
    EXPECT_FALSE(log.contains(QStringLiteral("propagateSizeHints")));
}

}  // namespace
}  // namespace zesthost
