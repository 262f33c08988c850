#include "app/window/Icons.h"

#include <array>
#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>
#include <QTransform>
#include <utility>

namespace {
constexpr double box = 24.0;

QPainterPath stroked(const QPainterPath& line, double width = 2.0) {
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    return stroker.createStroke(line).simplified();
}

QPainterPath circle(double x, double y, double radius) {
    QPainterPath path;
    path.addEllipse(QPointF(x, y), radius, radius);
    return path;
}

QPainterPath roundRect(QRectF rect, double radius) {
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

QPainterPath polyline(std::initializer_list<QPointF> points) {
    QPainterPath path(*points.begin());
    for (const QPointF& point : points)
        path.lineTo(point);
    return path;
}

/// A calendar leaf with the hands of a clock.
QPainterPath timerPath() {
    QPainterPath path = stroked(roundRect({3, 4.5, 18, 16.5}, 3));
    path |= roundRect({3, 4.5, 18, 5}, 2.5);
    path |= stroked(polyline({{8, 2.5}, {8, 5}}));
    path |= stroked(polyline({{16, 2.5}, {16, 5}}));
    path |= stroked(polyline({{12, 12}, {12, 15.5}, {15, 17}}), 1.8);
    return path;
}

/// Headphones.
QPainterPath monitorPath() {
    QPainterPath band(QPointF(4, 15));
    band.lineTo(4, 12.5);
    band.arcTo(QRectF(4, 4, 16, 16), 180, -180);
    band.lineTo(20, 15);
    QPainterPath path = stroked(band);
    path |= roundRect({3, 13.5, 5, 7.5}, 2);
    path |= roundRect({16, 13.5, 5, 7.5}, 2);
    return path;
}

/// A clock that shows a full hour.
QPainterPath hourPath() {
    QPainterPath path = stroked(circle(12, 12, 9));
    path |= stroked(polyline({{12, 6.5}, {12, 12}, {8, 12}}));
    return path;
}

/// A bell.
QPainterPath markerPath() {
    QPainterPath bell(QPointF(4, 17));
    bell.cubicTo({6.2, 15.2}, {6, 13}, {6, 10.5});
    bell.cubicTo({6, 6.8}, {8.4, 4.5}, {12, 4.5});
    bell.cubicTo({15.6, 4.5}, {18, 6.8}, {18, 10.5});
    bell.cubicTo({18, 13}, {17.8, 15.2}, {20, 17});
    bell.closeSubpath();
    QPainterPath path = bell | stroked(bell, 1.6);
    path |= circle(12, 3.6, 1.6);
    QPainterPath clapper(QPointF(9, 19.6));
    clapper.arcTo(QRectF(9, 16.6, 6, 6), 180, 180);
    clapper.closeSubpath();
    return path | clapper;
}

QPainterPath microphonePath() {
    QPainterPath cradle(QPointF(5.5, 11));
    cradle.arcTo(QRectF(5.5, 4.5, 13, 13), 180, 180);
    QPainterPath path = roundRect({8.5, 2, 7, 12.5}, 3.5);
    path |= stroked(cradle, 1.8);
    path |= stroked(polyline({{12, 17.5}, {12, 21}}), 1.8);
    path |= stroked(polyline({{8, 21.4}, {16, 21.4}}), 1.8);
    return path;
}

/// Two leaves, one behind the other.
QPainterPath duplicatePath() {
    QPainterPath path = stroked(roundRect({8.5, 8.5, 12, 12}, 2));
    return path | stroked(polyline({{5, 15.5}, {3.5, 15.5}, {3.5, 3.5}, {15.5, 3.5}, {15.5, 5}}));
}

/// An archive box.
QPainterPath keepPath() {
    QPainterPath path = roundRect({3, 4, 18, 5}, 1.5);
    path |= stroked(polyline({{5, 11}, {5, 19.5}, {19, 19.5}, {19, 11}}));
    path |= stroked(polyline({{9.5, 13}, {14.5, 13}}));
    return path;
}

/// A cogwheel.
QPainterPath preferencesPath() {
    QPainterPath path = circle(12, 12, 7);
    for (int tooth = 0; tooth < 8; ++tooth) {
        QTransform turn;
        turn.translate(12, 12);
        turn.rotate(45.0 * tooth);
        path |= turn.map(roundRect({-1.9, -10, 3.8, 5}, 1));
    }
    return path - circle(12, 12, 3.2);
}

/// A question mark in a circle.
QPainterPath helpPath() {
    QPainterPath hook(QPointF(9, 9.5));
    hook.cubicTo({9, 5.5}, {15, 5.5}, {15, 9.3});
    hook.cubicTo({15, 11.8}, {12, 11.6}, {12, 14});
    return stroked(circle(12, 12, 9.2), 1.8) | stroked(hook) | circle(12, 17.2, 1.3);
}

/// A triangle that points to the right, to the left with a negative `width`.
QPainterPath arrow(double x, double width, double halfHeight) {
    QPainterPath path = polyline({{x, 12 - halfHeight}, {x + width, 12}, {x, 12 + halfHeight}});
    path.closeSubpath();
    return path;
}

QPainterPath lockPath() {
    QPainterPath bow(QPointF(8, 11));
    bow.lineTo(8, 8);
    bow.arcTo(QRectF(8, 3.5, 8, 8), 180, -180);
    bow.lineTo(16, 11);
    return roundRect({5, 10.5, 14, 10.5}, 2) | stroked(bow);
}

/// A pencil.
QPainterPath notePath() {
    QPainterPath pencil = polyline({{4, 20}, {5.2, 15}, {15.5, 4.7}, {19.3, 8.5}, {9, 18.8}});
    pencil.closeSubpath();
    return pencil | stroked(pencil, 1.0);
}

/// A bin.
QPainterPath removePath() {
    QPainterPath path = stroked(polyline({{4.5, 6.5}, {19.5, 6.5}}));
    path |= stroked(polyline({{9.5, 6}, {9.5, 3.8}, {14.5, 3.8}, {14.5, 6}}), 1.8);
    path |= stroked(polyline({{6.5, 7}, {7.4, 20.5}, {16.6, 20.5}, {17.5, 7}}));
    path |= stroked(polyline({{10.2, 10}, {10.5, 17}}), 1.6);
    return path | stroked(polyline({{13.8, 10}, {13.5, 17}}), 1.6);
}

/// An arrow that leaves a box.
QPainterPath copyPath() {
    QPainterPath path =
        stroked(polyline({{8, 10}, {4.5, 10}, {4.5, 20.5}, {19.5, 20.5}, {19.5, 10}, {16, 10}}));
    path |= stroked(polyline({{12, 15.5}, {12, 4}}));
    return path | stroked(polyline({{7.8, 7.6}, {12, 3.4}, {16.2, 7.6}}));
}

QPainterPath speakerPath() {
    QPainterPath cone = polyline({{3, 9}, {7, 9}, {12.5, 4}, {12.5, 20}, {7, 15}, {3, 15}});
    cone.closeSubpath();
    QPainterPath wave(QPointF(15.5, 9));
    wave.arcTo(QRectF(10.5, 8, 8, 8), 40, -80);
    return cone | stroked(cone, 1.0) | stroked(wave, 1.8);
}

void paintApplication(QPainter& painter) {
    QLinearGradient ground(0, 2, 0, 62);
    ground.setColorAt(0, QColor(0x2f, 0x48, 0x58));
    ground.setColorAt(1, QColor(0x12, 0x20, 0x2b));
    painter.fillPath(roundRect({2, 2, 60, 60}, 14), ground);
    constexpr std::array<std::pair<double, double>, 5> bars{{{10, 8}, {19, 15}, {28, 22}, {37, 13}, {46, 6}}};
    for (const auto& [x, half] : bars)
        painter.fillPath(roundRect({x, 34 - half, 6, 2 * half}, 3), QColor(0x6f, 0xe3, 0xb0));
    painter.fillPath(circle(49, 16, 8.5), QColor(0x16, 0x28, 0x34));
    painter.fillPath(circle(49, 16, 6), QColor(0xff, 0x4a, 0x3d));
}
} // namespace

QPainterPath Icons::path(Glyph glyph) {
    switch (glyph) {
    case Glyph::record:
        return circle(12, 12, 9);
    case Glyph::stop:
        return roundRect({4.5, 4.5, 15, 15}, 2.5);
    case Glyph::timer:
        return timerPath();
    case Glyph::monitor:
        return monitorPath();
    case Glyph::hour:
        return hourPath();
    case Glyph::marker:
        return markerPath();
    case Glyph::microphone:
        return microphonePath();
    case Glyph::play:
        return arrow(6, 14, 8.5);
    case Glyph::head:
        return arrow(20, -12, 8) | roundRect({4.5, 4, 3, 16}, 1);
    case Glyph::tail:
        return arrow(4, 12, 8) | roundRect({16.5, 4, 3, 16}, 1);
    case Glyph::back:
        return arrow(12, -9.5, 7.5) | arrow(21.5, -9.5, 7.5);
    case Glyph::fast:
        return arrow(2.5, 9.5, 7.5) | arrow(12, 9.5, 7.5);
    case Glyph::lock:
        return lockPath();
    case Glyph::note:
        return notePath();
    case Glyph::remove:
        return removePath();
    case Glyph::copy:
        return copyPath();
    case Glyph::speaker:
        return speakerPath();
    case Glyph::duplicate:
        return duplicatePath();
    case Glyph::keep:
        return keepPath();
    case Glyph::preferences:
        return preferencesPath();
    case Glyph::help:
        return helpPath();
    }
    return {};
}

std::optional<Glyph> Icons::named(std::string_view image) {
    static constexpr std::array<std::pair<std::string_view, Glyph>, 15> names{
        {{"Record", Glyph::record},
         {"RecordOff", Glyph::record},
         {"RecordOn", Glyph::stop},
         {"Stop", Glyph::stop},
         {"Reserve", Glyph::timer},
         {"ReserveOn", Glyph::timer},
         {"Timer", Glyph::timer},
         {"Monitor", Glyph::monitor},
         {"MonitorOn", Glyph::monitor},
         {"Hour", Glyph::hour},
         {"HourOn", Glyph::hour},
         {"Marker", Glyph::marker},
         {"MarkerOn", Glyph::marker},
         {"PlayButton.png", Glyph::play},
         {"StopButton.png", Glyph::stop}}};
    for (const auto& [name, glyph] : names)
        if (name == image)
            return glyph;
    return std::nullopt;
}

void Icons::paint(QPainter& painter, Glyph glyph, const QRectF& square, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(square.topLeft());
    painter.scale(square.width() / box, square.height() / box);
    painter.fillPath(path(glyph), color);
    painter.restore();
}

QIcon Icons::application() {
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size / 64.0, size / 64.0);
        paintApplication(painter);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}
