// app/window/SeekSlider.h — the slider of the play position.
#pragma once
#include <QSlider>

/// Goes to where it is clicked. Arrows, home and end are left to the tab around it. Main thread only.
class SeekSlider : public QSlider {
public:
    explicit SeekSlider(QWidget* parent = nullptr);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
};
