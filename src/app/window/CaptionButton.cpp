#include "app/window/CaptionButton.h"

#include "app/window/Theme.h"

#include <algorithm>
#include <QPainter>

namespace {
constexpr int padding = 8;
constexpr int gap = 6;
constexpr int smallGlyph = 18;
constexpr int largeGlyph = 30;
constexpr double radius = 6.0;
} // namespace

CaptionButton::CaptionButton(Look look, QWidget* parent) : QPushButton(parent), m_look(look) {
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void CaptionButton::setFace(Glyph glyph, const QString& caption) {
    m_glyph = glyph;
    m_caption = caption;
    updateGeometry();
    update();
}

QSize CaptionButton::sizeHint() const {
    const QSize text = fontMetrics().size(Qt::TextSingleLine, m_caption);
    if (m_look == Look::large)
        return {std::max(text.width(), largeGlyph) + 2 * padding, largeGlyph + text.height() + padding};
    return {padding + smallGlyph + gap + text.width() + padding, std::max(text.height(), smallGlyph) + 6};
}

void CaptionButton::paintGround(QPainter& painter) const {
    const Theme theme = Theme::of(palette(), isEnabled());
    QColor ground = theme.button;
    if (isChecked())
        ground = m_look == Look::large ? theme.record : theme.buttonOn;
    if (isEnabled() && isDown())
        ground = Theme::mix(ground, Qt::black, 0.15);
    else if (isEnabled() && underMouse())
        ground = Theme::mix(ground, theme.accent, 0.10);
    QColor edge = theme.border;
    if (isChecked())
        edge = m_look == Look::large ? Theme::mix(theme.record, Qt::black, 0.3) : theme.accent;
    painter.setPen(QPen(edge, 1));
    painter.setBrush(ground);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    if (hasFocus()) {
        const bool onRed = isChecked() && m_look == Look::large;
        painter.setPen(QPen(onRed ? theme.onRecord : theme.accent, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(3, 3, -3, -3), radius - 2, radius - 2);
    }
}

void CaptionButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintGround(painter);

    const Theme theme = Theme::of(palette(), isEnabled());
    const bool large = m_look == Look::large;
    const QColor ink = large && isChecked() ? theme.onRecord : theme.buttonText;
    const QColor glyphInk = large && !isChecked() ? theme.record : ink;
    if (large) {
        const int textHeight = fontMetrics().height();
        const int top = (height() - largeGlyph - textHeight) / 2;
        Icons::paint(painter, m_glyph, QRectF((width() - largeGlyph) / 2.0, top, largeGlyph, largeGlyph),
                     glyphInk);
        painter.setPen(ink);
        painter.drawText(QRect(0, top + largeGlyph, width(), textHeight), Qt::AlignCenter, m_caption);
        return;
    }
    Icons::paint(painter, m_glyph, QRectF(padding, (height() - smallGlyph) / 2.0, smallGlyph, smallGlyph), ink);
    painter.setPen(ink);
    painter.drawText(rect().adjusted(padding + smallGlyph + gap, 0, 0, 0), Qt::AlignVCenter | Qt::AlignLeft,
                     m_caption);
}
