#pragma once

#include <QGraphicsScene>
#include <QGraphicsView>

#include <functional>
#include <string>
#include <vector>

#include "zesthost/session.h"

class QGraphicsPathItem;

namespace zestgui {

class NodeItem;
class WireItem;

// The graph drawn as a graph: a box for each node, a wire for each edge. A wire is made by
// dragging from a node's child side (right) onto another node, and removed by selecting it and
// pressing Delete; nodes move by dragging, and keep their place in the graph. Nodes never moved
// are laid out anew in columns, by their distance from the nodes nothing sends to. The keyboard:
// arrows go from node to node, Delete removes the selection. Named "graph", for tests.
class GraphCanvas : public QGraphicsView {
public:
    explicit GraphCanvas(zesthost::Session& session, QWidget* parent = nullptr);
    ~GraphCanvas() override;

    // Follows the graph, whoever changed it: the items anew when nodes or edges changed, else
    // the names, the bypass and the lights.
    void refresh();
    zesthost::GraphNode* selected() const;
    void select(const std::string& name);
    NodeItem* item(const std::string& name) const;
    // Removes the selected wires' edges, or else the selected node, through `remove_node`: the
    // window must let go of the node first.
    void remove_selected();
    void on_remove_node(std::function<void(zesthost::GraphNode&)> remove_node) {
        remove_node_ = std::move(remove_node);
    }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void rebuild();
    void lay_out(NodeItem& item, int column, std::vector<QRectF>& used);
    std::vector<int> columns() const;
    NodeItem* node_at(QPointF scene_point) const;
    // Selects the nearest node in the direction (dx, dy) from the selected one.
    void step(QPointF direction);
    void fit();

    zesthost::Session& session_;
    QGraphicsScene scene_;
    std::vector<NodeItem*> nodes_;
    std::vector<WireItem*> wires_;
    NodeItem* wire_from_ = nullptr;  // while a wire is dragged
    QGraphicsPathItem* dragged_ = nullptr;
    std::function<void(zesthost::GraphNode&)> remove_node_;
    int shown_changes_ = -1;
    std::size_t shown_count_ = 0;
};

}  // namespace zestgui
