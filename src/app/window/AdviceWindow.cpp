#include "app/window/AdviceWindow.h"

#include "app/window/ControlBinding.h"
#include "app/window/Follow.h"
#include "app/window/Icons.h"
#include "app/window/IndicatorLamp.h"
#include "base/Texts.h"
#include "storage/AdvicePanel.h"

#include <algorithm>
#include <QBoxLayout>
#include <QFormLayout>
#include <QHideEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>

namespace {
constexpr int textWidth = 420;  ///< pixels
constexpr int widestFrame = 40; ///< pixels, at most: its frame is not known before it is shown

QString textOf(const Texts& texts, const char* key) {
    return QString::fromStdString(texts(key));
}

/// A value that can be copied, but not changed.
QLineEdit* valueOf(TextField& control, const char* name) {
    auto* value = new QLineEdit;
    value->setObjectName(name);
    value->setReadOnly(true);
    follow(control, *value, [](const TextField& model, QLineEdit& view) {
        view.setText(QString::fromStdString(model.text()));
        view.setToolTip(view.text());
    });
    return value;
}
} // namespace

AdviceWindow::AdviceWindow(AdvicePanel& panel, const Texts& texts, QWidget* parent)
    : QDialog(parent), m_panel(panel) {
    setObjectName("Advice");
    setWindowTitle(textOf(texts, "AdviceTitle"));
    setWindowIcon(Icons::application());
    layOut(texts);
    const auto shown = [](const AdvicePanel& model, AdviceWindow& view) {
        if (model.isShown())
            view.present();
        else
            view.hide();
    };
    follow(panel, *this, shown);
    // News comes to the front also where the last one was never closed.
    follow(panel.adviceTotalText, *this, [&panel, shown](const TextField&, AdviceWindow& view) {
        if (panel.isShown())
            shown(panel, view);
    });
}

void AdviceWindow::layOut(const Texts& texts) {
    auto* rows = new QVBoxLayout(this);
    auto* said = new QLabel(textOf(texts, "AdviceText"));
    said->setObjectName("AdviceText");
    said->setWordWrap(true);
    said->setFixedWidth(textWidth);
    rows->addWidget(said);
    auto* values = new QFormLayout;
    values->addRow(textOf(texts, "AdvicePathCaption"), valueOf(m_panel.advicePathText, "AdvicePath"));
    values->addRow(textOf(texts, "AdviceTotalCaption"), valueOf(m_panel.adviceTotalText, "AdviceTotal"));
    values->addRow(textOf(texts, "BackupAdviceDataSizeCaption"), valueOf(m_panel.adviceSizeText, "AdviceSize"));
    rows->addLayout(values);
    auto* line = new QHBoxLayout;
    auto* lamp = new IndicatorLamp;
    lamp->setObjectName("AdviceLamp");
    lamp->setAccessibleName(textOf(texts, "AdviceIndicatorName"));
    ControlBinding::bind(m_panel.adviceIndicator, *lamp, textOf(texts, "AdviceIndicatorTip"));
    line->addWidget(lamp);
    line->addWidget(new QLabel(textOf(texts, "AdviceIndicatorName")));
    line->addStretch();
    auto* close = new QPushButton(textOf(texts, "Understand"));
    close->setObjectName("AdviceClose");
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, [this] { hide(); });
    line->addWidget(close);
    rows->addLayout(line);
}

void AdviceWindow::present() {
    if (!isVisible()) {
        adjustSize();
        if (const QWidget* const beside = parentWidget(); beside != nullptr) {
            QRect place(beside->frameGeometry().center() - rect().center(), size());
            const QRect room = beside->screen()->availableGeometry(); // it is wider than the record tab
            place.moveRight(std::min(place.right(), room.right() - widestFrame));
            place.moveBottom(std::min(place.bottom(), room.bottom() - widestFrame));
            move(std::max(place.left(), room.left()), std::max(place.top(), room.top()));
        }
    }
    show();
    raise();
}

void AdviceWindow::hideEvent(QHideEvent* event) {
    QDialog::hideEvent(event);
    if (!event->spontaneous()) // minimising is no closing
        m_panel.close();
}
