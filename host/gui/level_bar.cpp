#include "gui/level_bar.h"

#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace zestgui {

LevelBar::LevelBar(int maximum, Qt::Orientation orientation, QWidget* parent)
    : QWidget(parent), maximum_(maximum), orientation_(orientation) {
    if (orientation == Qt::Vertical) {
        setFixedSize(14, 56);
    } else {
        setFixedHeight(10);
        setMinimumWidth(40);
    }
}

void LevelBar::set_value(int value) {
    value = std::clamp(value, 0, maximum_);
    if (value == value_) return;
    value_ = value;
    update();
}

void LevelBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.fillRect(frame, palette().base());
    const double share = static_cast<double>(value_) / maximum_;
    QRectF fill = frame;
    if (orientation_ == Qt::Vertical) {
        fill.setTop(frame.bottom() - share * frame.height());
    } else {
        fill.setWidth(share * frame.width());
    }
    painter.fillRect(fill, palette().highlight());
    painter.setPen(palette().mid().color());
    painter.drawRect(frame);
}

void LevelBar::mousePressEvent(QMouseEvent* event) {
    drag_to(event->position());
}

void LevelBar::mouseMoveEvent(QMouseEvent* event) {
    drag_to(event->position());
}

void LevelBar::mouseReleaseEvent(QMouseEvent* event) {
    if (drag_ && event->button() == Qt::LeftButton) drag_(0);
}

void LevelBar::drag_to(QPointF point) {
    if (!drag_) return;
    const double share =
        orientation_ == Qt::Vertical ? 1.0 - point.y() / height() : point.x() / width();
    drag_(static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * maximum_)));
}

}  // namespace zestgui
