#include "gui/graph_view.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QStringList>
#include <QVBoxLayout>

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
      nodes_(named(new QListWidget(this), "nodes")),
      types_(named(new QComboBox(this), "types")),
      targets_(named(new QComboBox(this), "targets")),
      bypassed_(named(new QCheckBox(QStringLiteral("Bypassed"), this), "bypassed")),
      fire_(named(new QPushButton(QStringLiteral("Fire"), this), "fire")),
      delete_(named(new QPushButton(QStringLiteral("Delete"), this), "delete")),
      properties_(new QGroupBox(QStringLiteral("Properties"), this)) {
    for (const hostkit::RegisteredNodeType& type : session.registry().types())
        types_->addItem(QString::fromStdString(type.name), QString::fromStdString(type.id));
    auto* add = named(new QPushButton(QStringLiteral("Add"), this), "add");
    auto* link = named(new QPushButton(QStringLiteral("Connect"), this), "connect");

    auto* layout = new QVBoxLayout(this);
    auto* adding = new QHBoxLayout;
    adding->addWidget(types_, 1);
    adding->addWidget(add);
    layout->addLayout(adding);
    layout->addWidget(nodes_, 1);
    auto* linking = new QHBoxLayout;
    linking->addWidget(new QLabel(QStringLiteral("Events to"), this));
    linking->addWidget(targets_, 1);
    linking->addWidget(link);
    layout->addLayout(linking);
    auto* acting = new QHBoxLayout;
    acting->addWidget(bypassed_);
    acting->addWidget(fire_);
    acting->addWidget(delete_);
    layout->addLayout(acting);
    layout->addWidget(properties_, 2);
    new QVBoxLayout(properties_);

    connect(add, &QPushButton::clicked, this, &GraphView::add_node);
    connect(link, &QPushButton::clicked, this, &GraphView::connect_selected);
    connect(delete_, &QPushButton::clicked, this, &GraphView::delete_selected);
    connect(fire_, &QPushButton::clicked, this, [this] {
        if (zesthost::GraphNode* node = selected()) session_.graph().send(*node);
    });
    connect(bypassed_, &QCheckBox::toggled, this, [this](bool on) {
        if (zesthost::GraphNode* node = selected()) node->bypassed = on;
        refresh();
    });
    connect(nodes_, &QListWidget::currentRowChanged, this, &GraphView::show_selected);
    refresh();
}

void GraphView::reload() {
    shown_changes_ = session_.graph().changes();
    const QString current =
        nodes_->currentItem() ? nodes_->currentItem()->data(Qt::UserRole).toString() : QString();
    // The nodes the panel showed may be gone, and new ones made at their addresses.
    delete panel_;
    panel_ = nullptr;
    nodes_->blockSignals(true);
    nodes_->clear();
    targets_->clear();
    for (const auto& node : session_.graph().nodes()) {
        auto* item = new QListWidgetItem(nodes_);
        item->setData(Qt::UserRole, QString::fromStdString(node->name));
        targets_->addItem(QString::fromStdString(node->name));
    }
    nodes_->blockSignals(false);
    select(current.toStdString());
    if (nodes_->currentRow() < 0 && nodes_->count() > 0) nodes_->setCurrentRow(0);
    show_selected();
    refresh();
}

void GraphView::refresh() {
    if (session_.graph().changes() != shown_changes_) reload();
    for (int row = 0; row < nodes_->count(); ++row) {
        QListWidgetItem* item = nodes_->item(row);
        const zesthost::GraphNode* node =
            session_.graph().find(item->data(Qt::UserRole).toString().toStdString());
        if (node != nullptr) item->setText(describe(*node));
    }
    if (panel_ != nullptr) panel_->sync();
}

void GraphView::select(const std::string& name) {
    for (int row = 0; row < nodes_->count(); ++row) {
        if (nodes_->item(row)->data(Qt::UserRole).toString().toStdString() == name)
            nodes_->setCurrentRow(row);
    }
}

zesthost::GraphNode* GraphView::selected() const {
    const QListWidgetItem* item = nodes_->currentItem();
    return item == nullptr
               ? nullptr
               : session_.graph().find(item->data(Qt::UserRole).toString().toStdString());
}

void GraphView::add_node() {
    const auto* type = session_.registry().find(types_->currentData().toString().toStdString());
    if (type == nullptr) return;
    const std::string name = free_name(session_.graph(), type->id);
    session_.add_node(name, *type);
    refresh();
    select(name);
}

void GraphView::connect_selected() {
    zesthost::GraphNode* from = selected();
    zesthost::GraphNode* to = session_.graph().find(targets_->currentText().toStdString());
    if (from == nullptr || to == nullptr) return;
    session_.graph().connect(*from, *to);
    session_.trace().line("edge " + from->name + " -> " + to->name);
    refresh();
}

void GraphView::delete_selected() {
    zesthost::GraphNode* node = selected();
    if (node == nullptr) return;
    delete panel_;  // it shows the node's panel
    panel_ = nullptr;
    session_.trace().line("deleted " + node->name);
    session_.graph().remove(*node);
    refresh();
}

void GraphView::show_selected() {
    zesthost::GraphNode* node = selected();
    if (panel_ != nullptr && node != nullptr && &panel_->panel() == &node->panel) return;
    delete panel_;
    panel_ = nullptr;
    bypassed_->setEnabled(node != nullptr);
    fire_->setEnabled(node != nullptr);
    delete_->setEnabled(node != nullptr);
    if (node == nullptr) return;
    bypassed_->blockSignals(true);
    bypassed_->setChecked(node->bypassed);
    bypassed_->blockSignals(false);
    properties_->setTitle(QString::fromStdString(node->name));
    panel_ = new PanelView(session_, node->panel, properties_);
    properties_->layout()->addWidget(panel_);
}

QString GraphView::describe(const zesthost::GraphNode& node) const {
    QString text = QString::fromStdString(node.name + ": " + node.display_name());
    if (node.bypassed) text += QStringLiteral(" (bypassed)");
    QStringList children;
    for (const zesthost::GraphNode* child : node.children)
        children << QString::fromStdString(child->name);
    if (!children.isEmpty())
        text += QStringLiteral(" \u2192 ") + children.join(QStringLiteral(", "));
    return text;
}

}  // namespace zestgui
