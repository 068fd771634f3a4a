#pragma once

#include <QWidget>

#include <string>

#include "kit/panel.h"
#include "zesthost/session.h"

class QFormLayout;

namespace zestgui {

// A panel of the plug-in as widgets, made from the controls of its last pass: labels, buttons,
// checkboxes, spin boxes with the control's range and step, lists as combo boxes, groups as
// group boxes. A change is what a user does before the next pass: the kit scripts it, the pass
// runs and writes the store. Keyed widgets are named by their key, for tests.
class PanelView : public QWidget {
public:
    PanelView(zesthost::Session& session, hostkit::Panel& panel, QWidget* parent = nullptr);

    hostkit::Panel& panel() const { return panel_; }
    // Makes the widgets again if the panel had a pass since they were made.
    void sync();

private:
    void rebuild_widgets();
    void add_control(const hostkit::Control& control, QFormLayout* form);
    QWidget* make_widget(const hostkit::Control& control);
    void changed(const std::string& key, hostkit::Store::Value value);
    void clicked(const std::string& label);

    zesthost::Session& session_;
    hostkit::Panel& panel_;
    int shown_pass_ = -1;
    QWidget* content_ = nullptr;
};

}  // namespace zestgui
