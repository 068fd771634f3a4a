#pragma once

#include <QWidget>

#include <string>

#include "zesthost/session.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QPushButton;

namespace zestgui {

class GraphCanvas;
class PanelView;

// The graph: the canvas, with adding a node of each type, bypass, firing and deleting the
// selected node above it, and the selected node's properties panel beside it. Children are
// named for tests: "graph" (the canvas), "types", "add", "bypassed", "fire", "delete".
class GraphView : public QWidget {
public:
    explicit GraphView(zesthost::Session& session, QWidget* parent = nullptr);

    // Follows the graph, whoever changed it, and the names and the panel of the plug-in.
    void refresh();
    void select(const std::string& name);
    zesthost::GraphNode* selected() const;
    GraphCanvas& canvas() const { return *canvas_; }

private:
    void add_node();
    void remove_node(zesthost::GraphNode& node);
    void show_selected();

    zesthost::Session& session_;
    GraphCanvas* canvas_;
    QComboBox* types_;
    QCheckBox* bypassed_;
    QPushButton* fire_;
    QPushButton* delete_;
    QGroupBox* properties_;
    PanelView* panel_ = nullptr;
    int shown_changes_ = -1;
};

}  // namespace zestgui
