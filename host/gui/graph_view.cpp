#include "gui/graph_view.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include "gui/graph_canvas.h"
#include "gui/panel_view.h"

namespace zestgui {

namespace {

template <typename Widget>
Widget* named(Widget* widget, const char* name) {
    widget->setObjectName(QString::fromUtf8(name));
    return widget;
}

// A node's own name: its type's last word and the first free number.
std::string free_name(const zesthost::Graph& graph, const std::string& type_id) {
    const std::string stem = type_id.substr(type_id.rfind('.') + 1);
    for (int number = 1;; ++number) {
        const std::string name = stem + std::to_string(number);
        if (graph.find(name) == nullptr) return name;
    }
}

}  // namespace

GraphView::GraphView(zesthost::Session& session, QWidget* parent)
    : QWidget(parent),
      session_(session),
      canvas_(new GraphCanvas(session, this)),
      types_(named(new QComboBox(this), "types")),
      bypassed_(named(new QCheckBox(QStringLiteral("Bypassed"), this), "bypassed")),
      fire_(named(new QPushButton(QStringLiteral("Fire"), this), "fire")),
      delete_(named(new QPushButton(QStringLiteral("Delete"), this), "delete")),
      properties_(new QGroupBox(QStringLiteral("Properties"), this)) {
    for (const hostkit::RegisteredNodeType& type : session.registry().types())
        types_->addItem(QString::fromStdString(type.name), QString::fromStdString(type.id));
    auto* add = named(new QPushButton(QStringLiteral("Add"), this), "add");
    fire_->setToolTip(QStringLiteral("Send the selected node an event, as the host would"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* tools = new QHBoxLayout;
    tools->addWidget(types_, 1);
    tools->addWidget(add);
    tools->addSpacing(12);
    tools->addWidget(bypassed_);
    tools->addWidget(fire_);
    tools->addWidget(delete_);
    layout->addLayout(tools);
    auto* split = new QSplitter(Qt::Horizontal, this);
    split->addWidget(canvas_);
    split->addWidget(properties_);
    split->setStretchFactor(0, 1);
    layout->addWidget(split, 1);
    new QVBoxLayout(properties_);
    properties_->setMinimumWidth(240);

    connect(add, &QPushButton::clicked, this, &GraphView::add_node);
    connect(delete_, &QPushButton::clicked, canvas_, &GraphCanvas::remove_selected);
    connect(fire_, &QPushButton::clicked, this, [this] {
        if (zesthost::GraphNode* node = selected()) session_.graph().send(*node);
    });
    connect(bypassed_, &QCheckBox::toggled, this, [this](bool on) {
        if (zesthost::GraphNode* node = selected()) node->bypassed = on;
        refresh();
    });
    connect(canvas_->scene(), &QGraphicsScene::selectionChanged, this, &GraphView::show_selected);
    canvas_->on_remove_node([this](zesthost::GraphNode& node) { remove_node(node); });
    refresh();
}

void GraphView::refresh() {
    if (session_.graph().changes() != shown_changes_) {
        shown_changes_ = session_.graph().changes();
        // The node the panel showed may be gone, and a new one made at its address.
        delete panel_;
        panel_ = nullptr;
        canvas_->refresh();
        show_selected();
    } else {
        canvas_->refresh();
    }
    if (panel_ != nullptr) panel_->sync();
}

void GraphView::select(const std::string& name) {
    canvas_->select(name);
}

zesthost::GraphNode* GraphView::selected() const {
    return canvas_->selected();
}

void GraphView::add_node() {
    const auto* type = session_.registry().find(types_->currentData().toString().toStdString());
    if (type == nullptr) return;
    const std::string name = free_name(session_.graph(), type->id);
    session_.add_node(name, *type);
    refresh();
    select(name);
}

void GraphView::remove_node(zesthost::GraphNode& node) {
    delete panel_;  // it shows the node's panel
    panel_ = nullptr;
    session_.trace().line("deleted " + node.name);
    session_.graph().remove(node);
    refresh();
}

void GraphView::show_selected() {
    zesthost::GraphNode* node = selected();
    if (panel_ != nullptr && node != nullptr && &panel_->panel() == &node->panel) return;
    delete panel_;
    panel_ = nullptr;
    bypassed_->setEnabled(node != nullptr);
    fire_->setEnabled(node != nullptr);
    properties_->setTitle(node == nullptr ? QStringLiteral("Properties")
                                          : QString::fromStdString(node->name));
    if (node == nullptr) return;
    bypassed_->blockSignals(true);
    bypassed_->setChecked(node->bypassed);
    bypassed_->blockSignals(false);
    panel_ = new PanelView(session_, node->panel, properties_);
    properties_->layout()->addWidget(panel_);
}

}  // namespace zestgui
