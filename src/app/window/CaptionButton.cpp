#include "app/window/CaptionButton.h"

#include "app/window/Face.h"
#include "app/window/Theme.h"

#include <algorithm>
#include <QPainter>

namespace {
constexpr int padding = 8;
constexpr int gap = 6;
constexpr int smallGlyph = 18;
constexpr int largeGlyph = 30;
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

void CaptionButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Theme theme = Theme::of(palette(), isEnabled());
    const bool large = m_look == Look::large;
    Face face = Face::plain(theme);
    face.down = isDown();
    if (isChecked()) {
        const QColor ground = large ? theme.record : theme.buttonOn;
        face = {ground, Theme::mix(ground, Qt::black, 0.3), large ? theme.onRecord : theme.onButtonOn,
                isDown()};
    }
    face.paint(painter, *this);

    const QColor ink = isChecked() ? face.ring : theme.buttonText;
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
    const QRect field = rect().adjusted(padding + smallGlyph + gap, 0, -2, 0);
    painter.drawText(field, Qt::AlignVCenter | Qt::AlignLeft,
                     fontMetrics().elidedText(m_caption, Qt::ElideRight, field.width()));
}
