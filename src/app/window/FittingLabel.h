// app/window/FittingLabel.h — a line of text that fits its place.
#pragma once
#include "app/window/Icons.h"

#include <optional>
#include <QLabel>

/// Shortens its text with an ellipsis where it has no room, and tells it in full in the tool tip.
class FittingLabel : public QLabel {
public:
    enum class Ink { normal, secondary, red };
    /// `name` is what the text is, for a screen reader: "Condition" is read as "Condition: Recording".
    explicit FittingLabel(QString name, QWidget* parent = nullptr);

    void showText(const QString& text, Ink ink);
    void setTip(const QString& tip);
    /// Draws `glyph` before the text.
    void setGlyph(Glyph glyph);
    Ink ink() const { return m_ink; }
    bool isShortened() const;

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void refreshToolTip();

    const QString m_name;
    QString m_tip;
    Ink m_ink = Ink::normal;
    std::optional<Glyph> m_glyph;
};
