#include "app/window/Theme.h"

#include "app/window/Icons.h"

#include <gtest/gtest.h>
#include <QPalette>

namespace {
/// A palette of one window and one text colour.
QPalette paletteOf(QColor window, QColor base, QColor text) {
    QPalette palette(window, window);
    palette.setColor(QPalette::Base, base);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, text);
    return palette;
}

const QPalette palettes[] = {
    paletteOf(QColor(0xef, 0xef, 0xef), Qt::white, Qt::black),
    paletteOf(QColor(0x2b, 0x2e, 0x33), QColor(0x1f, 0x22, 0x26), QColor(0xec, 0xed, 0xee)),
    paletteOf(QColor(0x35, 0x35, 0x35), QColor(0x23, 0x23, 0x23), Qt::white),
    paletteOf(Qt::black, Qt::black, Qt::white), paletteOf(Qt::white, Qt::white, Qt::black)};
} // namespace

TEST(Theme, measuresContrast) {
    EXPECT_NEAR(Theme::contrast(Qt::black, Qt::white), 21.0, 0.01);
    EXPECT_NEAR(Theme::contrast(Qt::white, Qt::black), 21.0, 0.01);
    EXPECT_NEAR(Theme::contrast(Qt::red, Qt::red), 1.0, 0.01);
}

TEST(Theme, keepsTextReadable_inLightAndDark) {
    for (const QPalette& palette : palettes) {
        const Theme theme = Theme::of(palette);
        EXPECT_GE(Theme::contrast(theme.text, theme.card), Theme::readableContrast);
        EXPECT_GE(Theme::contrast(theme.secondaryText, theme.card), Theme::readableContrast);
        EXPECT_GE(Theme::contrast(theme.redText, theme.card), Theme::readableContrast);
        EXPECT_GE(Theme::contrast(theme.redText, palette.color(QPalette::Window)), Theme::readableContrast);
        EXPECT_GE(Theme::contrast(theme.buttonText, theme.button), Theme::readableContrast);
        EXPECT_GE(Theme::contrast(theme.onButtonOn, theme.buttonOn), Theme::readableContrast);
        EXPECT_GE(Theme::contrast(theme.onRecord, theme.record), Theme::readableContrast);
        EXPECT_GE(Theme::contrast(theme.greenOn, theme.greenOff), Theme::readableContrast);
        EXPECT_GE(Theme::contrast(theme.redOn, theme.redOff), 3.0);
        EXPECT_NE(theme.redText, theme.text);
        EXPECT_GT(theme.redText.red(), theme.redText.green()) << "red stays red";
    }
}

TEST(Theme, tellsOnFromOff_withoutColours) {
    for (const QPalette& palette : palettes) {
        const Theme theme = Theme::of(palette);
        EXPECT_GE(Theme::contrast(theme.buttonOn, theme.button), Theme::visibleContrast);
        const Theme disabled = Theme::of(palette, false);
        EXPECT_GE(Theme::contrast(disabled.buttonOn, disabled.button), 1.5);
        EXPECT_LT(Theme::contrast(disabled.buttonOn, disabled.button),
                  Theme::contrast(theme.buttonOn, theme.button));
    }
}

TEST(Theme, keepsTheTextOfDisabledButtonsVisible) {
    for (const QPalette& palette : palettes) {
        const Theme theme = Theme::of(palette, false);
        EXPECT_GE(Theme::contrast(theme.buttonText, theme.button), Theme::visibleContrast);
        EXPECT_GE(Theme::contrast(theme.onButtonOn, theme.buttonOn), Theme::visibleContrast);
        EXPECT_GE(Theme::contrast(theme.onRecord, theme.record), Theme::visibleContrast);
    }
}

TEST(Icons, stayInsideTheirSquare) {
    for (const Glyph glyph : {Glyph::record, Glyph::stop, Glyph::timer, Glyph::monitor, Glyph::hour,
                              Glyph::marker, Glyph::microphone}) {
        const QRectF bounds = Icons::path(glyph).boundingRect();
        EXPECT_TRUE(QRectF(0, 0, 24, 24).contains(bounds));
        EXPECT_GT(bounds.height(), 12.0);
    }
}

TEST(Icons, areFoundByTheImageNamesOfButtons) {
    EXPECT_EQ(Icons::named("Stop"), Glyph::stop);
    EXPECT_EQ(Icons::named("RecordOn"), Glyph::stop);
    EXPECT_EQ(Icons::named("RecordOff"), Glyph::record);
    EXPECT_EQ(Icons::named(""), std::nullopt);
    EXPECT_EQ(Icons::named("NoSuchImage"), std::nullopt);
}

TEST(Icons, drawTheApplicationIconInEverySize) {
    for (const int size : {16, 48, 256})
        EXPECT_EQ(Icons::application().pixmap(size, size).size(), QSize(size, size));
}
