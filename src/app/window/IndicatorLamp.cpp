#include "app/window/IndicatorLamp.h"

#include "app/window/Theme.h"

#include <QPainter>

IndicatorLamp::IndicatorLamp(int afterglowMilliseconds, QWidget* parent) : QWidget(parent) {
    setFixedSize(sizeHint());
    m_afterglow.setSingleShot(true);
    m_afterglow.setInterval(afterglowMilliseconds);
    connect(&m_afterglow, &QTimer::timeout, this, [this] { update(); });
}

void IndicatorLamp::setOn(bool on) {
    if (m_on && !on)
        m_afterglow.start();
    m_on = on;
    update();
}

void IndicatorLamp::paintEvent(QPaintEvent*) {
    const Theme theme = Theme::of(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme.secondaryText, 1));
    painter.setBrush(isGlowing() ? theme.greenOn : Theme::mix(theme.card, theme.text, 0.12));
    painter.drawEllipse(QRectF(rect()).adjusted(1, 1, -1, -1));
}
