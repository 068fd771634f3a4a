#include "gui/node_item.h"

#include <QCursor>
#include <QFontMetricsF>
#include <QGraphicsSceneHoverEvent>
#include <QPainter>

#include <algorithm>

#include "gui/wire_item.h"

namespace zestgui {

namespace {

using namespace std::chrono_literals;

// Lit at full for a while, then fading: long enough to see a chain light up in turn.
constexpr auto lit_time = 1200ms;
constexpr auto fade_time = 600ms;
constexpr double side_radius = 6.0;

const QColor lit_colour(0x4c, 0xaf, 0x50);
const QColor selected_colour(0x19, 0x76, 0xd2);

QColor mixed(const QColor& from, const QColor& to, double amount) {
    const auto mix = [&](int a, int b) { return static_cast<int>(a + (b - a) * amount); };
    return QColor(mix(from.red(), to.red()), mix(from.green(), to.green()),
                  mix(from.blue(), to.blue()));
}

}  // namespace

NodeItem::NodeItem(zesthost::GraphNode& node, QString type_name)
    : node_(node),
      type_name_(std::move(type_name)),
      events_seen_(node.originated() + node.passed_on()) {
    setObjectName(QString::fromStdString(node.name));
    setFlags(ItemIsMovable | ItemIsSelectable | ItemIsFocusable | ItemSendsGeometryChanges);
    setAcceptHoverEvents(true);
    setProperty("lit", false);
    if (node.place) setPos(node.place->x, node.place->y);
}

void NodeItem::refresh(Clock::time_point now) {
    const std::size_t events = node_.originated() + node_.passed_on();
    if (events != events_seen_) lit_until_ = now + lit_time;
    events_seen_ = events;
    const double glow =
        now >= lit_until_
            ? 0.0
            : std::min(1.0, (lit_until_ - now) / std::chrono::duration<double>(fade_time));
    const QString name = QString::fromStdString(node_.display_name());
    if (glow == glow_ && name == shown_name_ && node_.bypassed == shown_bypassed_) return;
    glow_ = glow;
    shown_name_ = name;
    shown_bypassed_ = node_.bypassed;
    setToolTip(
        name + QStringLiteral("\n") + type_name_ +
        QStringLiteral("\nDrag from the right side onto another node to send its events on"));
    setProperty("lit", glow_ > 0.0);
    update();
    for (WireItem* wire : wires_) {
        if (&wire->from() == this) wire->update();
    }
}

void NodeItem::lay_out(QPointF where) {
    laying_out_ = true;
    setPos(where);
    laying_out_ = false;
}

QPointF NodeItem::parent_side() const {
    return mapToScene(QPointF(0.0, height / 2));
}

QPointF NodeItem::child_side() const {
    return mapToScene(QPointF(width, height / 2));
}

bool NodeItem::on_child_side(QPointF scene_point) const {
    const QPointF offset = scene_point - child_side();
    return QPointF::dotProduct(offset, offset) <= 4 * side_radius * side_radius;
}

QRectF NodeItem::boundingRect() const {
    return QRectF(-side_radius, -2.0, width + 2 * side_radius, height + 4.0);
}

void NodeItem::paint(QPainter* painter, const QStyleOptionGraphicsItem*, QWidget*) {
    const QRectF box(0.0, 0.0, width, height);
    const bool bypassed = node_.bypassed;
    const QColor plain = bypassed ? QColor(0xee, 0xee, 0xee) : QColor(0xfa, 0xfa, 0xfa);
    const QColor ink = glow_ > 0.5 ? Qt::white : bypassed ? QColor(0x75, 0x75, 0x75) : Qt::black;
    QPen border(isSelected() ? selected_colour : QColor(0x75, 0x75, 0x75), isSelected() ? 2.5 : 1.0,
                bypassed ? Qt::DashLine : Qt::SolidLine);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(border);
    painter->setBrush(mixed(plain, lit_colour, glow_));
    painter->drawRoundedRect(box, 6.0, 6.0);

    const QFont font = painter->font();
    const QRectF text = box.adjusted(10.0, 4.0, -10.0, -4.0);
    const double line = text.height() / 3;
    const auto draw_line = [&](int index, const QString& words, const QFont& face) {
        painter->setFont(face);
        const QString elided = QFontMetricsF(face).elidedText(words, Qt::ElideRight, text.width());
        painter->drawText(QRectF(text.left(), text.top() + index * line, text.width(), line),
                          Qt::AlignLeft | Qt::AlignVCenter, elided);
    };
    QFont bold = font;
    bold.setBold(true);
    painter->setPen(ink);
    draw_line(0, QString::fromStdString(node_.name), bold);
    draw_line(1, shown_name_, font);
    QFont small = font;
    small.setPointSizeF(font.pointSizeF() * 0.85);
    painter->setPen(glow_ > 0.5 ? ink : QColor(0x75, 0x75, 0x75));
    draw_line(2, bypassed ? type_name_ + QStringLiteral(", bypassed") : type_name_, small);

    painter->setPen(QPen(QColor(0x61, 0x61, 0x61), 1.0));
    painter->setBrush(QColor(0xbd, 0xbd, 0xbd));
    painter->drawEllipse(QPointF(0.0, height / 2), side_radius, side_radius);
    painter->setBrush(selected_colour);
    painter->drawEllipse(QPointF(width, height / 2), side_radius, side_radius);
}

QVariant NodeItem::itemChange(GraphicsItemChange change, const QVariant& value) {
    if (change == ItemPositionHasChanged) {
        if (!laying_out_) node_.place = zesthost::Place{pos().x(), pos().y()};
        for (WireItem* wire : wires_)
            wire->follow();
    }
    return QGraphicsObject::itemChange(change, value);
}

void NodeItem::hoverMoveEvent(QGraphicsSceneHoverEvent* event) {
    setCursor(on_child_side(event->scenePos()) ? Qt::CrossCursor : Qt::ArrowCursor);
}

}  // namespace zestgui
