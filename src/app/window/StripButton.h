// app/window/StripButton.h — a flat button of the tab strip.
#pragma once
#include "app/window/Icons.h"

#include <QAbstractButton>

/// A drawing, and its name when that is wanted. Checked, it is lifted out of the strip. It changes its state
/// only when it is told to.
class StripButton : public QAbstractButton {
public:
    StripButton(Glyph glyph, const QString& name, QWidget* parent = nullptr);

    void setGlyph(Glyph glyph);
    /// Whether the name is shown beside the drawing.
    void setNamed(bool named);
    /// The width with the name, in pixels.
    int namedWidth() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void nextCheckState() override {}
    /// Leaves the arrow keys to the strip.
    void keyPressEvent(QKeyEvent* event) override;

private:
    Glyph m_glyph;
    bool m_named = false;
};
