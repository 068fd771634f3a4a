#pragma once

#include <QWidget>

#include <functional>

namespace zestgui {

// A value as a filled bar: a trigger or a rumble motor. With a drag handler the mouse moves
// it; a left drag springs back to the minimum on release, as a trigger does, a right drag stays.
class LevelBar : public QWidget {
public:
    LevelBar(int maximum, Qt::Orientation orientation, QWidget* parent = nullptr);

    void set_value(int value);
    int value() const { return value_; }
    void on_drag(std::function<void(int)> handler) { drag_ = std::move(handler); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void drag_to(QPointF point);

    int maximum_;
    Qt::Orientation orientation_;
    int value_ = 0;
    std::function<void(int)> drag_;
};

}  // namespace zestgui
