// app/window/Theme.h — the colours of the window, made from the palette in force.
#pragma once
#include <QColor>

class QPalette;

/// Light and dark follow the palette. Text colours are moved until they stand out from what they are drawn on.
struct Theme {
    /// The least contrast of text against its ground.
    static constexpr double readableContrast = 4.5;
    /// The least contrast of a drawing, and of the text of what is disabled.
    static constexpr double visibleContrast = 3.0;

    QColor card; ///< ground of the display
    QColor border;
    QColor text;
    QColor secondaryText;
    QColor redText; ///< stands out from the display and from the window
    QColor button;
    QColor buttonText;
    QColor accent;     ///< focus ring and switched-on buttons
    QColor buttonOn;   ///< ground of a switched-on button
    QColor onButtonOn; ///< text and drawing on `buttonOn`
    QColor record;     ///< the record dot, and the record button's ground while on
    QColor onRecord;   ///< text on `record`
    QColor bezel;      ///< ground of the lamps, dark in either theme
    QColor greenOn;
    QColor greenOff;
    QColor redOn;
    QColor redOff;

    static Theme of(const QPalette& palette, bool enabled = true);
    /// Contrast of two colours by their luminance, 1 to 21.
    static double contrast(const QColor& one, const QColor& other);
    /// Whether white stands out from `ground` better than black.
    static bool isDark(const QColor& ground);
    /// `share` 0 yields `from`, 1 yields `to`.
    static QColor mix(const QColor& from, const QColor& to, double share);
    /// `wanted`, moved towards white or black until its contrast to `ground` is `least`.
    static QColor readable(const QColor& wanted, const QColor& ground, double least = readableContrast);

private:
    /// Makes the buttons' colours those of disabled ones.
    void fade();
};
