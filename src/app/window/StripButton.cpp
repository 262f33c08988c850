#include "app/window/StripButton.h"

#include "app/window/Theme.h"

#include <QKeyEvent>
#include <QPainter>

namespace {
constexpr int padding = 7;
constexpr int gap = 5;
constexpr int glyphSize = 16;
constexpr int strip = 28; // pixels
} // namespace

StripButton::StripButton(Glyph glyph, const QString& name, QWidget* parent)
    : QAbstractButton(parent), m_glyph(glyph) {
    setText(name);
    setAccessibleName(name);
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void StripButton::setGlyph(Glyph glyph) {
    m_glyph = glyph;
    update();
}

void StripButton::setNamed(bool named) {
    if (m_named == named)
        return;
    m_named = named;
    updateGeometry();
    update();
}

int StripButton::namedWidth() const {
    return padding + glyphSize + gap + fontMetrics().horizontalAdvance(text()) + padding;
}

QSize StripButton::sizeHint() const {
    return {m_named ? namedWidth() : glyphSize + 2 * padding, strip - 4};
}

void StripButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right)
        event->ignore();
    else
        QAbstractButton::keyPressEvent(event);
}

void StripButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Theme theme = Theme::of(palette(), isEnabled());
    const QRectF ground = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QColor ink = theme.buttonText;
    if (isChecked()) {
        painter.setPen(QPen(theme.border, 1));
        painter.setBrush(theme.buttonOn);
        painter.drawRoundedRect(ground, 5, 5);
        ink = theme.onButtonOn;
    } else if (isEnabled() && (underMouse() || isDown())) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(Theme::mix(palette().window().color(), theme.accent, isDown() ? 0.25 : 0.12));
        painter.drawRoundedRect(ground, 5, 5);
    }
    if (hasFocus()) {
        painter.setPen(QPen(isChecked() ? theme.onButtonOn : theme.accent, 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(ground.adjusted(1.5, 1.5, -1.5, -1.5), 4, 4);
    }
    Icons::paint(painter, m_glyph, QRectF(padding, (height() - glyphSize) / 2.0, glyphSize, glyphSize), ink);
    if (!m_named)
        return;
    painter.setPen(ink);
    painter.drawText(rect().adjusted(padding + glyphSize + gap, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft,
                     text());
}
