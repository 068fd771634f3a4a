#include "gui/graph_canvas.h"

#include <QGraphicsPathItem>
#include <QKeyEvent>
#include <QMouseEvent>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "gui/node_item.h"
#include "gui/wire_item.h"

namespace zestgui {

namespace {

constexpr double column_gap = 44.0;
constexpr double row_gap = 36.0;
constexpr double smallest_scale = 0.5;

QString name_of(const QGraphicsItem* item) {
    const QGraphicsObject* object = item->toGraphicsObject();
    return object == nullptr ? QString() : object->objectName();
}

}  // namespace

GraphCanvas::GraphCanvas(zesthost::Session& session, QWidget* parent)
    : QGraphicsView(parent), session_(session) {
    setObjectName(QStringLiteral("graph"));
    setScene(&scene_);
    setRenderHint(QPainter::Antialiasing);
    setDragMode(QGraphicsView::RubberBandDrag);
    setMinimumSize(320, 200);
    setBackgroundBrush(QColor(0xf5, 0xf5, 0xf5));
    refresh();
}

// The scene's items go with it, and nobody is told: the window may be half gone.
GraphCanvas::~GraphCanvas() {
    scene_.blockSignals(true);
}

void GraphCanvas::refresh() {
    if (session_.graph().changes() != shown_changes_) rebuild();
    const NodeItem::Clock::time_point now = NodeItem::Clock::now();
    for (NodeItem* node : nodes_)
        node->refresh(now);
}

void GraphCanvas::rebuild() {
    shown_changes_ = session_.graph().changes();
    // The items may hold nodes that are gone: only their names are read.
    QString chosen;
    std::map<QString, NodeItem::Clock::time_point> lights;
    for (const QGraphicsItem* item : scene_.selectedItems()) {
        if (item->type() == NodeItem::Type) chosen = name_of(item);
    }
    for (const NodeItem* node : nodes_)
        lights[node->objectName()] = node->lit_until();
    scene_.blockSignals(true);
    scene_.clear();
    nodes_.clear();
    wires_.clear();
    dragged_ = nullptr;
    wire_from_ = nullptr;

    const auto& graph = session_.graph().nodes();
    std::map<const zesthost::GraphNode*, NodeItem*> items;
    std::vector<NodeItem*> unplaced;
    std::vector<QRectF> used;
    for (const auto& node : graph) {
        auto* item = new NodeItem(*node, QString::fromStdString(node->type.name));
        if (const auto light = lights.find(item->objectName()); light != lights.end())
            item->light_until(light->second);
        scene_.addItem(item);
        items[node.get()] = item;
        nodes_.push_back(item);
        if (node->place) {
            used.emplace_back(item->pos(), QSizeF(NodeItem::width, NodeItem::height));
        } else {
            unplaced.push_back(item);
        }
    }
    const std::vector<int> column = columns();
    for (NodeItem* item : unplaced) {
        const auto index = std::find(nodes_.begin(), nodes_.end(), item) - nodes_.begin();
        lay_out(*item, column[static_cast<std::size_t>(index)], used);
    }
    for (const auto& node : graph) {
        for (const zesthost::GraphNode* child : node->children) {
            wires_.push_back(new WireItem(*items[node.get()], *items[child]));
            scene_.addItem(wires_.back());
        }
    }
    select(chosen.toStdString());
    if (selected() == nullptr && !nodes_.empty()) nodes_.front()->setSelected(true);
    scene_.blockSignals(false);
    const QRectF shown = mapToScene(viewport()->rect()).boundingRect();
    if (nodes_.size() != shown_count_ || !shown.contains(scene_.itemsBoundingRect())) fit();
    shown_count_ = nodes_.size();
}

// Each node one column further than the furthest node that sends to it; a cycle stops at the
// number of nodes.
std::vector<int> GraphCanvas::columns() const {
    const auto& graph = session_.graph().nodes();
    std::map<const zesthost::GraphNode*, std::size_t> index;
    for (std::size_t i = 0; i < graph.size(); ++i)
        index[graph[i].get()] = i;
    std::vector<int> column(graph.size(), 0);
    const int most = static_cast<int>(graph.size());
    for (bool moved = true; moved;) {
        moved = false;
        for (std::size_t i = 0; i < graph.size(); ++i) {
            for (const zesthost::GraphNode* child : graph[i]->children) {
                int& next = column[index[child]];
                if (next < column[i] + 1 && column[i] + 1 < most) {
                    next = column[i] + 1;
                    moved = true;
                }
            }
        }
    }
    return column;
}

// The first free row of the node's column.
void GraphCanvas::lay_out(NodeItem& item, int column, std::vector<QRectF>& used) {
    const double x = column * (NodeItem::width + column_gap);
    for (double y = 0.0;; y += NodeItem::height + row_gap) {
        const QRectF wanted(x, y, NodeItem::width, NodeItem::height);
        if (std::none_of(used.begin(), used.end(),
                         [&](const QRectF& taken) { return wanted.intersects(taken); })) {
            item.lay_out(wanted.topLeft());
            used.push_back(wanted);
            return;
        }
    }
}

// The whole graph in view, shrunk if it must be; if it still can't be, its top left.
void GraphCanvas::fit() {
    const QRectF bounds = scene_.itemsBoundingRect().adjusted(-20.0, -20.0, 20.0, 20.0);
    resetTransform();
    if (bounds.isEmpty()) return;
    const double scale = std::min(
        {1.0, viewport()->width() / bounds.width(), viewport()->height() / bounds.height()});
    if (scale < 1.0) this->scale(std::max(scale, smallest_scale), std::max(scale, smallest_scale));
    centerOn(bounds.center());
    ensureVisible(QRectF(bounds.topLeft(), QSizeF(1.0, 1.0)), 0, 0);  // where events start
}

zesthost::GraphNode* GraphCanvas::selected() const {
    if (session_.graph().changes() != shown_changes_) return nullptr;  // not drawn yet
    for (QGraphicsItem* item : scene_.selectedItems()) {
        if (item->type() == NodeItem::Type) return &static_cast<NodeItem*>(item)->node();
    }
    return nullptr;
}

void GraphCanvas::select(const std::string& name) {
    NodeItem* chosen = item(name);
    if (chosen == nullptr) return;
    scene_.clearSelection();
    chosen->setSelected(true);
    chosen->setFocus();
    ensureVisible(chosen);
}

NodeItem* GraphCanvas::item(const std::string& name) const {
    const QString wanted = QString::fromStdString(name);
    for (NodeItem* node : nodes_) {
        if (node->objectName() == wanted) return node;
    }
    return nullptr;
}

NodeItem* GraphCanvas::node_at(QPointF scene_point) const {
    for (QGraphicsItem* item : scene_.items(scene_point)) {
        if (item->type() == NodeItem::Type) return static_cast<NodeItem*>(item);
    }
    return nullptr;
}

void GraphCanvas::remove_selected() {
    std::vector<std::pair<zesthost::GraphNode*, zesthost::GraphNode*>> edges;
    for (const WireItem* wire : wires_) {
        if (wire->isSelected()) edges.emplace_back(&wire->from().node(), &wire->to().node());
    }
    zesthost::GraphNode* node = selected();
    for (const auto& [from, to] : edges) {
        session_.graph().disconnect(*from, *to);
        session_.trace().line("removed edge " + from->name + " -> " + to->name);
    }
    if (edges.empty() && node != nullptr && remove_node_) remove_node_(*node);
    refresh();
}

void GraphCanvas::mousePressEvent(QMouseEvent* event) {
    const QPointF at = mapToScene(event->position().toPoint());
    NodeItem* from = event->button() == Qt::LeftButton ? node_at(at) : nullptr;
    if (from == nullptr || !from->on_child_side(at)) {
        QGraphicsView::mousePressEvent(event);
        return;
    }
    wire_from_ = from;
    dragged_ = scene_.addPath(WireItem::curve(from->child_side(), at),
                              QPen(QColor(0x19, 0x76, 0xd2), 2.0, Qt::DashLine));
    event->accept();
}

void GraphCanvas::mouseMoveEvent(QMouseEvent* event) {
    if (dragged_ == nullptr) {
        QGraphicsView::mouseMoveEvent(event);
        return;
    }
    dragged_->setPath(
        WireItem::curve(wire_from_->child_side(), mapToScene(event->position().toPoint())));
}

void GraphCanvas::mouseReleaseEvent(QMouseEvent* event) {
    if (dragged_ == nullptr) {
        QGraphicsView::mouseReleaseEvent(event);
        return;
    }
    delete std::exchange(dragged_, nullptr);
    zesthost::GraphNode& from = std::exchange(wire_from_, nullptr)->node();
    const NodeItem* target = node_at(mapToScene(event->position().toPoint()));
    if (target == nullptr || &target->node() == &from) return;
    zesthost::GraphNode& to = target->node();
    if (std::find(from.children.begin(), from.children.end(), &to) != from.children.end()) return;
    session_.graph().connect(from, to);
    session_.trace().line("edge " + from.name + " -> " + to.name);
    refresh();
}

void GraphCanvas::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Delete:
        case Qt::Key_Backspace:
            remove_selected();
            return;
        case Qt::Key_Left:
            return step({-1.0, 0.0});
        case Qt::Key_Right:
            return step({1.0, 0.0});
        case Qt::Key_Up:
            return step({0.0, -1.0});
        case Qt::Key_Down:
            return step({0.0, 1.0});
        default:
            QGraphicsView::keyPressEvent(event);
    }
}

// The nearest node within 60 degrees or so of the direction, nearer to its line counting more.
void GraphCanvas::step(QPointF direction) {
    const zesthost::GraphNode* current = selected();
    const NodeItem* from = current == nullptr ? nullptr : item(current->name);
    if (from == nullptr) {
        if (!nodes_.empty()) select(nodes_.front()->objectName().toStdString());
        return;
    }
    const NodeItem* best = nullptr;
    double best_cost = std::numeric_limits<double>::infinity();
    for (const NodeItem* node : nodes_) {
        const QPointF offset = node->pos() - from->pos();
        const double along = QPointF::dotProduct(offset, direction);
        const double across = std::abs(offset.x() * direction.y() - offset.y() * direction.x());
        if (node == from || along <= 0.0 || across > 2.0 * along) continue;
        if (const double cost = along + 2.0 * across; cost < best_cost) {
            best_cost = cost;
            best = node;
        }
    }
    if (best != nullptr) select(best->objectName().toStdString());
}

}  // namespace zestgui
