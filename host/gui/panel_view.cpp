#include "gui/panel_view.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace zestgui {

namespace {

using hostkit::Control;
using hostkit::ControlKind;

// A spin box can't show an endless range; no one types more seconds than this.
constexpr double widest = 1e9;

QString text_of(const std::optional<std::string>& text) {
    return QString::fromStdString(text.value_or(""));
}

}  // namespace

PanelView::PanelView(zesthost::Session& session, hostkit::Panel& panel, QWidget* parent)
    : QWidget(parent), session_(session), panel_(panel) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    sync();
}

void PanelView::sync() {
    if (panel_.pass_count() == shown_pass_ || panel_.in_pass()) return;
    shown_pass_ = panel_.pass_count();
    rebuild_widgets();
}

// The old widgets go later: the one that changed may be in the middle of its signal.
void PanelView::rebuild_widgets() {
    if (content_ != nullptr) {
        content_->hide();
        content_->deleteLater();
    }
    content_ = new QWidget(this);
    layout()->addWidget(content_);
    std::vector<QFormLayout*> forms{new QFormLayout(content_)};
    forms.back()->setContentsMargins(0, 0, 0, 0);
    for (const Control& control : panel_.controls()) {
        if (control.kind == ControlKind::StartGroup) {
            auto* group = new QGroupBox(text_of(control.text));
            forms.back()->addRow(group);
            forms.push_back(new QFormLayout(group));
        } else if (control.kind == ControlKind::EndGroup) {
            if (forms.size() > 1) forms.pop_back();
        } else {
            add_control(control, forms.back());
        }
    }
    content_->show();  // at once, not when the event loop comes round
}

void PanelView::add_control(const Control& control, QFormLayout* form) {
    QWidget* widget = make_widget(control);
    if (control.key) widget->setObjectName(QString::fromStdString(*control.key));
    const bool captioned = control.text && control.kind != ControlKind::Label &&
                           control.kind != ControlKind::Button &&
                           control.kind != ControlKind::Checkbox;
    if (captioned) {
        form->addRow(text_of(control.text), widget);
    } else {
        form->addRow(widget);
    }
}

QWidget* PanelView::make_widget(const Control& control) {
    const std::string key = control.key.value_or("");
    switch (control.kind) {
        case ControlKind::Button: {
            auto* button = new QPushButton(text_of(control.text));
            connect(button, &QPushButton::clicked, this,
                    [this, label = control.text.value_or("")] { clicked(label); });
            return button;
        }
        case ControlKind::Checkbox: {
            auto* box = new QCheckBox(text_of(control.text));
            box->setChecked(control.result != 0.0);
            connect(box, &QCheckBox::toggled, this, [this, key](bool on) { changed(key, on); });
            box->setEnabled(control.key.has_value());
            return box;
        }
        case ControlKind::Int:
        case ControlKind::Slider: {
            auto* spin = new QSpinBox;
            spin->setRange(static_cast<int>(control.minimum), static_cast<int>(control.maximum));
            if (control.kind == ControlKind::Slider)
                spin->setSingleStep(std::max(1, static_cast<int>(control.step)));
            spin->setValue(static_cast<int>(control.result));
            spin->setKeyboardTracking(false);
            connect(spin, &QSpinBox::valueChanged, this,
                    [this, key](int value) { changed(key, static_cast<std::int32_t>(value)); });
            spin->setEnabled(control.key.has_value());
            return spin;
        }
        case ControlKind::Float: {
            auto* spin = new QDoubleSpinBox;
            spin->setDecimals(3);
            spin->setSingleStep(0.1);
            spin->setRange(std::max(control.minimum, -widest), std::min(control.maximum, widest));
            spin->setValue(control.result);
            spin->setKeyboardTracking(false);
            connect(spin, &QDoubleSpinBox::valueChanged, this,
                    [this, key](double value) { changed(key, value); });
            spin->setEnabled(control.key.has_value());
            return spin;
        }
        case ControlKind::List: {
            auto* list = new QComboBox;
            int selected = -1;
            for (const hostkit::ListEntry& entry : control.entries) {
                if (entry.value == static_cast<int>(control.result)) selected = list->count();
                list->addItem(QString::fromStdString(entry.label), entry.value);
            }
            list->setCurrentIndex(selected);
            connect(list, &QComboBox::currentIndexChanged, this, [this, key, list](int index) {
                if (index >= 0)
                    changed(key, static_cast<std::int32_t>(list->itemData(index).toInt()));
            });
            list->setEnabled(control.key.has_value());
            return list;
        }
        case ControlKind::StartGroup:
        case ControlKind::EndGroup:
        case ControlKind::Label:
            break;
    }
    auto* label = new QLabel(text_of(control.text));
    label->setWordWrap(true);
    return label;
}

void PanelView::changed(const std::string& key, hostkit::Store::Value value) {
    panel_.script_value(key, std::move(value));
    session_.rebuild(panel_);
    sync();
}

void PanelView::clicked(const std::string& label) {
    panel_.script_click(label);
    session_.rebuild(panel_);
    sync();
}

}  // namespace zestgui
