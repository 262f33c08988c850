#include "app/window/SourceBox.h"

#include <QAbstractItemView>
#include <QSignalBlocker>
#include <QStringList>
#include <QStyleOptionComboBox>
#include <QStylePainter>

SourceBox::SourceBox(QWidget* parent) : QComboBox(parent) {
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(8);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void SourceBox::setTip(const QString& tip) {
    m_tip = tip;
    setToolTip(currentIndex() < 0 ? m_tip : currentText() + "\n" + m_tip);
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

void SourceBox::paintEvent(QPaintEvent*) {
    QStyleOptionComboBox option;
    initStyleOption(&option);
    if (currentIndex() < 0)
        option.currentText = placeholderText();
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    option.currentText = fontMetrics().elidedText(option.currentText, Qt::ElideMiddle, field.width() - 4);
    QStylePainter painter(this);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}
