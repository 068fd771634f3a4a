#pragma once

#include <QWidget>

#include <string>

#include "zesthost/session.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QListWidget;
class QPushButton;

namespace zestgui {

class PanelView;

// The graph: its nodes by their own names and the names the plug-in gives them, with the
// nodes each sends its events to; adding a node of each type, an edge from the selected node,
// bypass, firing, deleting; and the selected node's properties panel. Children are named for
// tests: "nodes", "types", "add", "targets", "connect", "bypassed", "fire", "delete".
class GraphView : public QWidget {
public:
    explicit GraphView(zesthost::Session& session, QWidget* parent = nullptr);

    // Follows the graph, whoever changed it, and the names and the panel of the plug-in.
    void refresh();
    void select(const std::string& name);
    zesthost::GraphNode* selected() const;

private:
    void reload();
    void add_node();
    void connect_selected();
    void delete_selected();
    void show_selected();
    QString describe(const zesthost::GraphNode& node) const;

    zesthost::Session& session_;
    QListWidget* nodes_;
    QComboBox* types_;
    QComboBox* targets_;
    QCheckBox* bypassed_;
    QPushButton* fire_;
    QPushButton* delete_;
    QGroupBox* properties_;
    PanelView* panel_ = nullptr;
    int shown_changes_ = -1;
};

}  // namespace zestgui
