// app/window/IndicatorLamp.h — a small lamp with an afterglow.
#pragma once
#include <QTimer>
#include <QWidget>

/// Stays lit a moment after it is switched off, so that work of a few milliseconds can be seen.
class IndicatorLamp : public QWidget {
public:
    explicit IndicatorLamp(int afterglowMilliseconds = 400, QWidget* parent = nullptr);

    void setOn(bool on);
    bool isGlowing() const { return m_on || m_afterglow.isActive(); }
    QSize sizeHint() const override { return {10, 10}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool m_on = false;
    QTimer m_afterglow;
};
