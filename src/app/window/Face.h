// app/window/Face.h — the ground that switches and choices are drawn on.
#pragma once
#include <QColor>

class QPainter;
class QWidget;
struct Theme;

/// The ground's colours and whether it is held down.
struct Face {
    QColor ground;
    QColor edge;
    QColor ring; ///< of the keyboard focus
    bool down = false;

    static Face plain(const Theme& theme);
    /// Paints the ground of `widget`, with its hover and focus.
    void paint(QPainter& painter, const QWidget& widget) const;
};
