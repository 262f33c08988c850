#include "app/window/FittingLabel.h"

#include "app/window/PlainTip.h"
#include "app/window/Theme.h"

#include <algorithm>
#include <QPainter>
#include <utility>

namespace {
constexpr int glyphSize = 14;
constexpr int glyphGap = 4;
} // namespace

FittingLabel::FittingLabel(QString name, QWidget* parent) : QLabel(parent), m_name(std::move(name)) {
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    setAccessibleName(m_name);
}

void FittingLabel::showText(const QString& text, Ink ink) {
    m_ink = ink;
    setText(text);
    setAccessibleName(text.isEmpty() ? m_name : m_name + ": " + text);
    refreshToolTip();
    update();
}

void FittingLabel::setTip(const QString& tip) {
    m_tip = tip;
    refreshToolTip();
}

void FittingLabel::setGlyph(Glyph glyph) {
    m_glyph = glyph;
    setContentsMargins(glyphSize + glyphGap, 0, 0, 0);
    update();
}

bool FittingLabel::isShortened() const {
    return fontMetrics().horizontalAdvance(text()) > contentsRect().width();
}

QSize FittingLabel::minimumSizeHint() const {
    const QMargins margins = contentsMargins();
    const int whole = fontMetrics().horizontalAdvance(text()) + margins.left() + margins.right();
    return {std::min(whole, fontMetrics().averageCharWidth() * 4), fontMetrics().height()};
}

void FittingLabel::paintEvent(QPaintEvent*) {
    const Theme theme = Theme::of(palette());
    QPainter painter(this);
    const QColor ink = m_ink == Ink::red         ? theme.redText
                       : m_ink == Ink::secondary ? theme.secondaryText
                                                 : theme.text;
    painter.setPen(ink);
    const QString line = fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
    const bool right = (alignment() & Qt::AlignRight) != 0;
    const int left = right ? width() - fontMetrics().horizontalAdvance(line) : contentsRect().left();
    if (m_glyph && !text().isEmpty())
        Icons::paint(painter, *m_glyph,
                     QRectF(left - glyphGap - glyphSize, (height() - glyphSize) / 2.0, glyphSize, glyphSize),
                     ink);
    // Placed by the baseline: a line that mixes scripts must stand level with its neighbours.
    const int baseline = (height() - fontMetrics().height()) / 2 + fontMetrics().ascent();
    painter.drawText(left, baseline, line);
}

void FittingLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    refreshToolTip();
}

void FittingLabel::refreshToolTip() {
    setToolTip(plainTip(isShortened() && !m_tip.contains(text()) ? text() + "\n" + m_tip : m_tip));
}
