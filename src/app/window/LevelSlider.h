// app/window/LevelSlider.h — sets the start level beside the lamps.
#pragma once
#include <QSlider>

/// A vertical slider whose thumb points at the lamp of its value.
class LevelSlider : public QSlider {
public:
    explicit LevelSlider(QWidget* parent = nullptr);

    /// The thumb, a lamp high.
    QRect thumbRect() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
};
