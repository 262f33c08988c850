#include "app/window/WaveView.h"

#include "app/window/Theme.h"
#include "base/Texts.h"
#include "library/VmWaveView.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>

namespace {
constexpr int frame = 2; ///< around the picture; it shows the keyboard's focus
}

WaveView::WaveView(VmWaveView& wave, const Texts& texts, QWidget* parent)
    : QWidget(parent),
      m_wave(wave),
      m_emptyText(QString::fromStdString(texts("WaveEmpty"))),
      m_progressText(QString::fromStdString(texts("WaveProgress"))) {
    setFixedSize(wave.bounds() + QSize(2 * frame, 2 * frame));
    setFocusPolicy(Qt::StrongFocus);
    setToolTip(QString::fromStdString(texts("WaveTip")));
    setAccessibleName(QString::fromStdString(texts("WaveName")));
    wave.observe([guarded = QPointer<WaveView>(this)] {
        if (guarded)
            guarded->update();
    });
}

QString WaveView::message() const {
    if (const auto progress = m_wave.progress())
        return m_progressText.arg(static_cast<int>(*progress * 100.0));
    return m_emptyText;
}

void WaveView::paintEvent(QPaintEvent*) {
    const Theme theme = Theme::of(palette());
    QPainter painter(this);
    painter.fillRect(rect(), hasFocus() ? theme.accent : theme.border);
    const QRect ground = rect().adjusted(frame, frame, -frame, -frame);
    painter.fillRect(ground, Qt::black);
    if (!m_wave.shownImage().isNull()) {
        painter.setClipRect(ground);
        painter.drawImage(ground.topLeft(), m_wave.shownImage());
        return;
    }
    painter.setPen(QColor(0xc8, 0xcc, 0xd0));
    painter.drawText(ground, Qt::AlignCenter, message());
}

double WaveView::pointOf(const QMouseEvent& event) const {
    return event.position().x() - frame;
}

void WaveView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        m_wave.mouseDown(pointOf(*event), event->modifiers().testFlag(Qt::ShiftModifier));
}

void WaveView::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons().testFlag(Qt::LeftButton))
        m_wave.mouseDragged(pointOf(*event));
}

void WaveView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        m_wave.mouseUp();
}

void WaveView::keyPressEvent(QKeyEvent* event) {
    const auto key = event->key() == Qt::Key_Left    ? VmWaveView::Key::leftArrow
                     : event->key() == Qt::Key_Right ? VmWaveView::Key::rightArrow
                                                     : VmWaveView::Key::other;
    if (!m_wave.performKeyEquivalent(key, event->modifiers().testFlag(Qt::ShiftModifier)))
        event->ignore();
}
