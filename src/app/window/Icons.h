// app/window/Icons.h — the program's own drawings.
#pragma once
#include <optional>
#include <QColor>
#include <QIcon>
#include <QPainterPath>
#include <string_view>

class QPainter;

enum class Glyph {
    record,
    stop,
    timer,
    monitor,
    hour,
    marker,
    microphone,
    play,
    head,
    tail,
    back,
    fast,
    lock,
    note,
    remove,
    copy,
    speaker,
    duplicate,
    keep,
    preferences,
    help
};

/// Every drawing is a path, so that it takes any size and any colour.
namespace Icons {
/// The path of a glyph in a square of 24 x 24.
QPainterPath path(Glyph glyph);
/// The glyph of a `Button`'s image name: "Record" or "RecordOff", "Stop" or "RecordOn", "Timer", and "Reserve",
/// "Monitor", "Hour", "Marker" with or without "On"; "PlayButton.png", "StopButton.png".
std::optional<Glyph> named(std::string_view image);
void paint(QPainter& painter, Glyph glyph, const QRectF& square, const QColor& color);
/// The application's icon, as in share/icons/velmoratide.svg.
QIcon application();
} // namespace Icons
