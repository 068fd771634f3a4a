#pragma once

#include <QGraphicsObject>

#include <chrono>
#include <vector>

#include "zesthost/graph.h"

namespace zestgui {

class WireItem;

// A node of the graph on the canvas: a box with the node's own name, the name the plug-in gives
// it and its type, its parent side (left, where events come in) and its child side (right,
// where a wire is dragged from to send its events on). A bypassed node is drawn faded and
// dashed. A node that fires or passes an event on is lit for a moment, fading, so that an event
// can be followed through the graph by eye; its "lit" property says so, for tests. Named after
// the node. Its place is the node's once it was moved (or the file gave one).
class NodeItem : public QGraphicsObject {
public:
    using Clock = std::chrono::steady_clock;
    enum { Type = UserType + 1 };
    static constexpr double width = 224.0;
    static constexpr double height = 64.0;

    NodeItem(zesthost::GraphNode& node, QString type_name);

    zesthost::GraphNode& node() const { return node_; }
    int type() const override { return Type; }

    // Follows the node: its name, its bypass, and the events it sent since the last look.
    void refresh(Clock::time_point now);
    // How lit it is: 1 just after an event, fading to 0.
    double glow() const { return glow_; }
    Clock::time_point lit_until() const { return lit_until_; }
    void light_until(Clock::time_point until) { lit_until_ = until; }

    QPointF parent_side() const;
    QPointF child_side() const;
    bool on_child_side(QPointF scene_point) const;
    void add_wire(WireItem* wire) { wires_.push_back(wire); }
    // Where the canvas puts a node that has no place: the node keeps none, until it is moved.
    void lay_out(QPointF where);

    QRectF boundingRect() const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;

protected:
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;
    void hoverMoveEvent(QGraphicsSceneHoverEvent* event) override;

private:
    zesthost::GraphNode& node_;
    const QString type_name_;
    QString shown_name_;
    bool shown_bypassed_ = false;
    bool laying_out_ = false;
    std::size_t events_seen_;
    Clock::time_point lit_until_{};
    double glow_ = 0.0;
    std::vector<WireItem*> wires_;
};

}  // namespace zestgui
