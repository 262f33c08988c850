#include "app/window/Face.h"

#include "app/window/Theme.h"

#include <QPainter>
#include <QWidget>

namespace {
constexpr double radius = 6.0;
}

Face Face::plain(const Theme& theme) {
    return {theme.button, theme.border, theme.accent};
}

void Face::paint(QPainter& painter, const QWidget& widget) const {
    QColor shade = ground;
    if (widget.isEnabled() && down)
        shade = Theme::mix(ground, Qt::black, 0.15);
    else if (widget.isEnabled() && widget.underMouse())
        shade = Theme::mix(ground, ring, 0.10);
    const QRectF bounds = widget.rect();
    painter.setPen(QPen(edge, 1));
    painter.setBrush(shade);
    painter.drawRoundedRect(bounds.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    if (!widget.hasFocus())
        return;
    painter.setPen(QPen(ring, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(bounds.adjusted(2.5, 2.5, -2.5, -2.5), radius - 2, radius - 2);
}
