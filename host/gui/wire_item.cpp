#include "gui/wire_item.h"

#include <QPainter>
#include <QPainterPathStroker>

#include <algorithm>
#include <cmath>

#include "gui/node_item.h"

namespace zestgui {

namespace {

constexpr double arrow_size = 9.0;

}  // namespace

WireItem::WireItem(NodeItem& from, NodeItem& to) : from_(from), to_(to) {
    setFlags(ItemIsSelectable | ItemIsFocusable);
    setZValue(-1.0);                          // under the nodes
    setPen(QPen(Qt::black, 2 * arrow_size));  // painted otherwise; it sizes the bounding box
    setToolTip(QStringLiteral("Select it and press Delete to remove it"));
    from.add_wire(this);
    to.add_wire(this);
    follow();
}

void WireItem::follow() {
    setPath(curve(from_.child_side(), to_.parent_side()));
}

QPainterPath WireItem::curve(QPointF from, QPointF to) {
    const double reach = std::max(40.0, std::abs(to.x() - from.x()) / 2);
    QPainterPath path(from);
    path.cubicTo(from + QPointF(reach, 0.0), to - QPointF(reach, 0.0), to);
    return path;
}

// Wide enough to be picked with the mouse.
QPainterPath WireItem::shape() const {
    QPainterPathStroker stroker;
    stroker.setWidth(10.0);
    return stroker.createStroke(path());
}

void WireItem::paint(QPainter* painter, const QStyleOptionGraphicsItem*, QWidget*) {
    const double glow = from_.glow();
    QColor colour = isSelected() ? QColor(0x19, 0x76, 0xd2) : QColor(0x61, 0x61, 0x61);
    if (glow > 0.0) colour = QColor(0x4c, 0xaf, 0x50);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(colour, isSelected() || glow > 0.0 ? 3.0 : 1.5));
    painter->setBrush(Qt::NoBrush);
    painter->drawPath(path());
    const QPointF tip = path().currentPosition();
    painter->setBrush(colour);
    painter->drawPolygon(QPolygonF{tip, tip - QPointF(arrow_size, arrow_size / 2),
                                   tip - QPointF(arrow_size, -arrow_size / 2)});
}

}  // namespace zestgui
