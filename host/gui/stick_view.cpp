#include "gui/stick_view.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace zestgui {

namespace {

// -1 to 1 across the widget, up positive as XInput has it, onto an axis.
std::int16_t axis(double share) {
    return static_cast<std::int16_t>(std::lround(std::clamp(share, -1.0, 1.0) * 32767.0));
}

}  // namespace

StickView::StickView(QWidget* parent) : QWidget(parent) {
    setFixedSize(56, 56);
}

void StickView::set_position(std::int16_t x, std::int16_t y) {
    if (x == x_ && y == y_) return;
    x_ = x;
    y_ = y;
    update();
}

void StickView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(palette().mid().color());
    painter.setBrush(palette().base());
    painter.drawEllipse(frame);
    painter.drawLine(QPointF(frame.center().x(), frame.top()),
                     QPointF(frame.center().x(), frame.bottom()));
    painter.drawLine(QPointF(frame.left(), frame.center().y()),
                     QPointF(frame.right(), frame.center().y()));
    const double radius = frame.width() / 2 - 5;
    const QPointF dot = frame.center() + QPointF(x_ / 32768.0 * radius, -y_ / 32768.0 * radius);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().highlight());
    painter.drawEllipse(dot, 5, 5);
}

void StickView::mousePressEvent(QMouseEvent* event) {
    drag_to(event->position());
}

void StickView::mouseMoveEvent(QMouseEvent* event) {
    drag_to(event->position());
}

void StickView::mouseReleaseEvent(QMouseEvent* event) {
    if (drag_ && event->button() == Qt::LeftButton) drag_(0, 0);
}

void StickView::drag_to(QPointF point) {
    if (!drag_) return;
    const double half = width() / 2.0 - 5;
    drag_(axis((point.x() - width() / 2.0) / half), axis((height() / 2.0 - point.y()) / half));
}

}  // namespace zestgui
