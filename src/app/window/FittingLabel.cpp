#include "app/window/FittingLabel.h"

#include "app/window/PlainTip.h"
#include "app/window/Theme.h"

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
    return {fontMetrics().averageCharWidth() * 4, fontMetrics().height()};
}

void FittingLabel::paintEvent(QPaintEvent*) {
    const Theme theme = Theme::of(palette());
    QPainter painter(this);
    const QColor ink = m_ink == Ink::red         ? theme.redText
                       : m_ink == Ink::secondary ? theme.secondaryText
                                                 : theme.text;
    painter.setPen(ink);
    if (m_glyph && !text().isEmpty())
        Icons::paint(painter, *m_glyph, QRectF(0, (height() - glyphSize) / 2.0, glyphSize, glyphSize), ink);
    const QString line = fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
    const bool right = (alignment() & Qt::AlignRight) != 0;
    // Placed by the baseline: a line that mixes scripts must stand level with its neighbours.
    const int baseline = (height() - fontMetrics().height()) / 2 + fontMetrics().ascent();
    painter.drawText(right ? width() - fontMetrics().horizontalAdvance(line) : contentsRect().left(), baseline,
                     line);
}

void FittingLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    refreshToolTip();
}

void FittingLabel::refreshToolTip() {
    setToolTip(plainTip(isShortened() && !m_tip.contains(text()) ? text() + "\n" + m_tip : m_tip));
}
