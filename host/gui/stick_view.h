#pragma once

#include <QWidget>

#include <cstdint>
#include <functional>

namespace zestgui {

// A stick as a dot in a square. With a drag handler the mouse moves it; a left drag springs
// back to the centre on release, as a stick does, a right drag stays.
class StickView : public QWidget {
public:
    explicit StickView(QWidget* parent = nullptr);

    void set_position(std::int16_t x, std::int16_t y);
    void on_drag(std::function<void(std::int16_t, std::int16_t)> handler) {
        drag_ = std::move(handler);
    }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void drag_to(QPointF point);

    std::int16_t x_ = 0;
    std::int16_t y_ = 0;
    std::function<void(std::int16_t, std::int16_t)> drag_;
};

}  // namespace zestgui
