#include "app/window/DigitView.h"

#include "app/window/Theme.h"

#include <algorithm>
#include <QPainter>
#include <utility>

DigitView::DigitView(QString name, QWidget* parent) : QLabel(parent), m_name(std::move(name)) {
    setTextFormat(Qt::PlainText);
    setAccessibleName(m_name);
}

void DigitView::showDigits(const QString& text) {
    if (text == this->text())
        return;
    setText(text);
    setAccessibleName(text.isEmpty() ? m_name : m_name + ": " + text);
    updateGeometry();
}

QSize DigitView::sizeHint() const {
    int width = 0;
    for (const QChar character : text())
        width += advance(character);
    return {width, fontMetrics().height()};
}

int DigitView::advance(QChar character) const {
    if (!character.isDigit())
        return fontMetrics().horizontalAdvance(character);
    int widest = 0;
    for (char digit = '0'; digit <= '9'; ++digit)
        widest = std::max(widest, fontMetrics().horizontalAdvance(QLatin1Char(digit)));
    return widest;
}

void DigitView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(Theme::of(palette()).text);
    const int baseline = (height() - fontMetrics().height()) / 2 + fontMetrics().ascent();
    int x = 0;
    for (const QChar character : text()) {
        const int cell = advance(character);
        painter.drawText(x + (cell - fontMetrics().horizontalAdvance(character)) / 2, baseline, character);
        x += cell;
    }
}
