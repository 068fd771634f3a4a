#pragma once

#include <QGraphicsPathItem>

namespace zestgui {

class NodeItem;

// An edge of the graph on the canvas: a wire from the parent's child side to the child's parent
// side, with an arrow at the child. It lights with its parent, and is selected to be removed.
class WireItem : public QGraphicsPathItem {
public:
    enum { Type = UserType + 2 };

    WireItem(NodeItem& from, NodeItem& to);

    NodeItem& from() const { return from_; }
    NodeItem& to() const { return to_; }
    int type() const override { return Type; }
    // Draws the wire again between the two nodes, where they are now.
    void follow();
    // The curve of a wire, for a wire being dragged too.
    static QPainterPath curve(QPointF from, QPointF to);

    QPainterPath shape() const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;

private:
    NodeItem& from_;
    NodeItem& to_;
};

}  // namespace zestgui
