#include "app/window/LevelSlider.h"

#include "app/window/LampScale.h"
#include "app/window/Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace {
constexpr int fixedWidth = 22;
constexpr int grooveX = 8;
constexpr int thumbHeight = 14;
} // namespace

LevelSlider::LevelSlider(QWidget* parent) : QSlider(Qt::Vertical, parent) {
    setFixedSize(sizeHint());
    setPageStep(5);
    setFocusPolicy(Qt::StrongFocus);
}

QRect LevelSlider::thumbRect() const {
    return {1, LampScale::middleOfLevel(value()) - thumbHeight / 2, fixedWidth - 2, thumbHeight};
}

QSize LevelSlider::sizeHint() const {
    return {fixedWidth, LampScale::height};
}

void LevelSlider::paintEvent(QPaintEvent*) {
    const Theme theme = Theme::of(palette(), isEnabled());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double top = LampScale::middleOfLevel(maximum());
    const double bottom = LampScale::middleOfLevel(minimum());
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.border);
    painter.drawRoundedRect(QRectF(grooveX - 2, top - 2, 4, bottom - top + 4), 2, 2);
    for (int level = minimum(); level <= maximum(); level += 5)
        painter.drawRect(QRectF(grooveX + 6, LampScale::middleOfLevel(level) - 0.5, 5, 1));

    const QRectF thumb = QRectF(thumbRect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const double shoulder = thumb.right() - thumb.height() / 2;
    QPainterPath tag(QPointF(thumb.right(), thumb.center().y()));
    tag.lineTo(shoulder, thumb.bottom());
    tag.lineTo(thumb.left() + 2, thumb.bottom());
    tag.quadTo(thumb.bottomLeft(), QPointF(thumb.left(), thumb.bottom() - 2));
    tag.lineTo(thumb.left(), thumb.top() + 2);
    tag.quadTo(thumb.topLeft(), QPointF(thumb.left() + 2, thumb.top()));
    tag.lineTo(shoulder, thumb.top());
    tag.closeSubpath();
    painter.setBrush(theme.button);
    painter.setPen(
        QPen(hasFocus() ? theme.accent : Theme::mix(theme.border, theme.buttonText, 0.4), hasFocus() ? 2 : 1));
    painter.drawPath(tag);
    painter.setPen(QPen(isEnabled() ? theme.accent : theme.border, 2));
    painter.drawLine(QPointF(thumb.left() + 4, thumb.center().y()), QPointF(shoulder, thumb.center().y()));
}

void LevelSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return event->ignore();
    setSliderDown(true);
    setValue(LampScale::levelAt(event->position().toPoint().y()));
}

void LevelSlider::mouseMoveEvent(QMouseEvent* event) {
    if (isSliderDown())
        setValue(LampScale::levelAt(event->position().toPoint().y()));
}

void LevelSlider::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        setSliderDown(false);
}
