#include "app/window/SourceBox.h"

#include "app/window/Face.h"
#include "app/window/Icons.h"
#include "app/window/PlainTip.h"
#include "app/window/Theme.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QSignalBlocker>
#include <QStringList>

namespace {
constexpr int fixedHeight = 28;
constexpr int padding = 9;
constexpr int gap = 7;
constexpr int glyphSize = 16;
constexpr int arrowWidth = 9;
} // namespace

SourceBox::SourceBox(QWidget* parent) : QComboBox(parent) {
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(8);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
}

void SourceBox::setTip(const QString& tip) {
    m_tip = tip;
    setToolTip(plainTip(currentIndex() < 0 ? m_tip : currentText() + "\n" + m_tip));
}

void SourceBox::setSources(const QStringList& names, int selected) {
    const QSignalBlocker blocker(this);
    QStringList shown;
    for (int index = 0; index < count(); ++index)
        shown.append(itemText(index));
    if (shown != names) {
        clear();
        addItems(names);
        if (!names.isEmpty())
            view()->setMinimumWidth(view()->sizeHintForColumn(0));
    }
    setCurrentIndex(selected);
    setTip(m_tip);
}

QSize SourceBox::sizeHint() const {
    return {QComboBox::sizeHint().width(), fixedHeight};
}

void SourceBox::paintEvent(QPaintEvent*) {
    const Theme theme = Theme::of(palette(), isEnabled());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    Face::plain(theme).paint(painter, *this);
    Icons::paint(painter, Glyph::microphone,
                 QRectF(padding, (height() - glyphSize) / 2.0, glyphSize, glyphSize), theme.buttonText);

    const QRect field = rect().adjusted(padding + glyphSize + gap, 0, -(padding + arrowWidth + gap), 0);
    painter.setPen(theme.buttonText);
    painter.drawText(field, Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(currentIndex() < 0 ? placeholderText() : currentText(),
                                              Qt::ElideMiddle, field.width()));
    const double x = width() - padding - arrowWidth;
    const double y = height() / 2.0;
    painter.setPen(QPen(theme.buttonText, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF({{x, y - 2.0}, {x + arrowWidth / 2.0, y + 2.5}, {x + arrowWidth, y - 2.0}}));
}
