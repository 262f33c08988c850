#include "app/window/SeekSlider.h"

#include <algorithm>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyle>
#include <QStyleOptionSlider>

SeekSlider::SeekSlider(QWidget* parent) : QSlider(Qt::Horizontal, parent) {
    setFixedHeight(18);
}

void SeekSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        // The thumb jumps below the pointer; what follows is an ordinary drag of it.
        QStyleOptionSlider option;
        initStyleOption(&option);
        const QRect groove = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderGroove, this);
        const QRect thumb = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
        if (!thumb.contains(event->pos()))
            setValue(QStyle::sliderValueFromPosition(minimum(), maximum(),
                                                     event->pos().x() - groove.x() - thumb.width() / 2,
                                                     std::max(groove.width() - thumb.width(), 1)));
    }
    QSlider::mousePressEvent(event);
}

void SeekSlider::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_Space:
        event->ignore();
        return;
    default:
        QSlider::keyPressEvent(event);
    }
}
