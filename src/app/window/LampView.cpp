#include "app/window/LampView.h"

#include "app/window/LampScale.h"
#include "app/window/Theme.h"

#include <QPainter>
#include <QPaintEvent>

namespace {
constexpr int fixedWidth = 24;
constexpr int side = 4;
} // namespace

LampView::LampView(QWidget* parent) : QWidget(parent) {
    setFixedSize(sizeHint());
}

void LampView::setLit(int index, bool lit) {
    bool& lamp = m_lit[static_cast<std::size_t>(index)];
    if (lamp == lit)
        return;
    lamp = lit;
    update(lampRect(index));
}

int LampView::highestLit() const {
    for (int index = LampColumn::count - 1; index >= 0; --index)
        if (isLit(index))
            return index + 1;
    return 0;
}

void LampView::setStartLevel(int level) {
    m_startLevel = level;
    update();
}

QRect LampView::lampRect(int index) const {
    return {side, LampScale::lampTop(index), fixedWidth - 2 * side, LampScale::lampHeight};
}

QSize LampView::sizeHint() const {
    return {fixedWidth, LampScale::height};
}

void LampView::paintEvent(QPaintEvent* event) {
    const Theme theme = Theme::of(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme.border, 1));
    painter.setBrush(theme.bezel);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    painter.setPen(Qt::NoPen);
    for (int index = 0; index < LampColumn::count; ++index) {
        const QRect lamp = lampRect(index);
        if (!event->rect().intersects(lamp))
            continue;
        const bool red = index >= LampColumn::firstRed;
        painter.setBrush(isLit(index) ? (red ? theme.redOn : theme.greenOn)
                                      : (red ? theme.redOff : theme.greenOff));
        painter.drawRoundedRect(lamp, 1.5, 1.5);
    }
    // The start level: a notch on both sides of its lamp.
    const int y = LampScale::middleOfLevel(m_startLevel);
    painter.setBrush(Qt::white);
    painter.drawRect(QRectF(0, y - 1, 3, 2));
    painter.drawRect(QRectF(fixedWidth - 3, y - 1, 3, 2));
}
