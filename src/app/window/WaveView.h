// app/window/WaveView.h — the waveform on the screen.
#pragma once
#include <QString>
#include <QWidget>

class Texts;
class VmWaveView;

/// Draws the model's picture and hands mouse and arrow keys on to it. Main thread only.
class WaveView : public QWidget {
public:
    /// `wave` must outlive the widget; `texts` is read while constructing only.
    WaveView(VmWaveView& wave, const Texts& texts, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    double pointOf(const QMouseEvent& event) const;
    QString message() const;

    VmWaveView& m_wave;
    const QString m_emptyText;
    const QString m_progressText;
};
