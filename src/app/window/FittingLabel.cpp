#include "app/window/FittingLabel.h"

#include "app/window/Theme.h"

#include <QPainter>
#include <utility>

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

bool FittingLabel::isShortened() const {
    return fontMetrics().horizontalAdvance(text()) > contentsRect().width();
}

QSize FittingLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 4, fontMetrics().height()};
}

void FittingLabel::paintEvent(QPaintEvent*) {
    const Theme theme = Theme::of(palette());
    QPainter painter(this);
    painter.setPen(m_ink == Ink::red         ? theme.redText
                   : m_ink == Ink::secondary ? theme.secondaryText
                                             : theme.text);
    const QString line = fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
    const bool right = (alignment() & Qt::AlignRight) != 0;
    // Placed by the baseline: a line that mixes scripts must stand level with its neighbours.
    const int baseline = (height() - fontMetrics().height()) / 2 + fontMetrics().ascent();
    painter.drawText(right ? width() - fontMetrics().horizontalAdvance(line) : 0, baseline, line);
}

void FittingLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    refreshToolTip();
}

void FittingLabel::refreshToolTip() {
    setToolTip(isShortened() && !m_tip.contains(text()) ? text() + "\n" + m_tip : m_tip);
}
