#include "app/window/Theme.h"

#include <algorithm>
#include <cmath>
#include <QPalette>

namespace {
double linear(double component) {
    return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color) {
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}
} // namespace

Theme Theme::of(const QPalette& palette, bool enabled) {
    const auto group = enabled ? QPalette::Active : QPalette::Disabled;
    const QColor window = palette.color(QPalette::Active, QPalette::Window);
    const QColor windowText = palette.color(QPalette::Active, QPalette::WindowText);

    Theme theme;
    theme.card = palette.color(QPalette::Active, QPalette::Base);
    theme.border = mix(window, windowText, 0.22);
    theme.text = palette.color(QPalette::Active, QPalette::Text);
    theme.secondaryText = readable(mix(theme.text, theme.card, 0.35), theme.card);
    theme.redText = readable(readable(QColor(0xd3, 0x2f, 0x2f), theme.card), window);
    theme.button = palette.color(group, QPalette::Button);
    theme.buttonText = palette.color(QPalette::Active, QPalette::ButtonText);
    theme.accent = palette.color(QPalette::Active, QPalette::Highlight);
    // On and off differ in brightness, so that they are told apart without colours too.
    theme.onButtonOn = isDark(theme.button) ? Qt::black : Qt::white;
    theme.buttonOn = readable(readable(theme.accent, theme.onButtonOn), theme.button, visibleContrast);
    theme.record = QColor(0xc6, 0x28, 0x28);
    theme.onRecord = Qt::white;
    if (!enabled)
        theme.fade();
    theme.bezel = QColor(0x16, 0x1a, 0x1d);
    theme.greenOn = QColor(0x3d, 0xdc, 0x6f);
    theme.greenOff = QColor(0x20, 0x3b, 0x2b);
    theme.redOn = QColor(0xff, 0x4a, 0x3d);
    theme.redOff = QColor(0x46, 0x22, 0x22);
    return theme;
}

void Theme::fade() {
    const auto faint = [this](const QColor& ground) {
        return readable(mix(ground, buttonText, 0.45), ground, visibleContrast);
    };
    accent = mix(button, accent, 0.4);
    buttonOn = mix(button, buttonOn, 0.45);
    record = mix(button, record, 0.45);
    onButtonOn = faint(buttonOn);
    onRecord = faint(record);
    buttonText = faint(button);
}

double Theme::contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

bool Theme::isDark(const QColor& ground) {
    return contrast(ground, Qt::white) > contrast(ground, Qt::black);
}

QColor Theme::mix(const QColor& from, const QColor& to, double share) {
    const auto blend = [share](float a, float b) { return static_cast<float>(a + (b - a) * share); };
    return QColor::fromRgbF(blend(from.redF(), to.redF()), blend(from.greenF(), to.greenF()),
                            blend(from.blueF(), to.blueF()));
}

QColor Theme::readable(const QColor& wanted, const QColor& ground, double least) {
    const bool darkGround = isDark(ground);
    for (int percent = 0; percent < 100; percent += 5) {
        const QColor moved = mix(wanted, darkGround ? Qt::white : Qt::black, percent / 100.0);
        if (contrast(moved, ground) >= least)
            return moved;
    }
    return darkGround ? Qt::white : Qt::black;
}
