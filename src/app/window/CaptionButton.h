// app/window/CaptionButton.h — the tab's switch buttons: a drawing and a caption.
#pragma once
#include "app/window/Icons.h"

#include <QPushButton>
#include <QString>

/// A checkable button of our own looks. It changes its state only when it is told to: a click asks, the bound
/// control decides.
class CaptionButton : public QPushButton {
public:
    enum class Look {
        small, ///< drawing left of the caption
        large, ///< drawing above the caption, red ground while on
    };
    explicit CaptionButton(Look look, QWidget* parent = nullptr);

    void setFace(Glyph glyph, const QString& caption);
    Glyph glyph() const { return m_glyph; }
    const QString& caption() const { return m_caption; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void nextCheckState() override {}

private:
    const Look m_look;
    Glyph m_glyph = Glyph::record;
    QString m_caption;
};
