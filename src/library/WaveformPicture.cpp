#include "library/WaveformPicture.h"

#include "base/Formatted.h"
#include "library/TiffFile.h"
#include "storage/SoundFileNames.h"
#include "storage/Volume.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QRectF>
#include <vector>

namespace {
constexpr std::int64_t largestPictureFile = std::int64_t{64} << 20; ///< bytes; what is larger is none of ours
constexpr double fullScale = 32768.0;

std::string descriptionOf(std::int64_t soundBytes) {
    return formatted("Waveform of %lld bytes of sound", static_cast<long long>(soundBytes));
}

std::string asidePathOf(const std::string& picturePath) {
    return picturePath + ".part";
}

void drawEnvelope(QPainter& painter, std::span<const WaveformEnvelope::Column> columns, double height) {
    const auto yOf = [height](std::int16_t sample) { return (sample / fullScale + 1.0) * height * 0.5; };
    QPainterPath path(QPointF(0.0, 0.0));
    for (std::size_t x = 0; x < columns.size(); ++x) {
        path.lineTo(static_cast<double>(x), yOf(columns[x].minimum));
        path.lineTo(static_cast<double>(x), yOf(columns[x].maximum));
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.strokePath(path, QPen(QColor(Qt::cyan), 1.0, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
}

void drawGrid(QPainter& painter, double width, double height) {
    // On whole points: a grid line is white, never two grey ones.
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.fillRect(QRectF(0.0, std::trunc(0.5 * height) - 0.5, width, 1.0), Qt::white);
    for (const double part : {0.25, 0.5, 0.75})
        painter.fillRect(QRectF(std::trunc(width * part), 0.0, 1.0, height), Qt::white);
    QPainterPath dashes;
    for (const double part : {0.125, 0.375, 0.625, 0.875}) {
        const double x = std::trunc(width * part) + 0.5;
        dashes.moveTo(x, 0.0);
        dashes.lineTo(x, height);
    }
    QPen pen(QColor(Qt::white), 1.0, Qt::CustomDashLine, Qt::FlatCap);
    pen.setDashPattern({2.0, 2.0});
    pen.setDashOffset(0.0);
    painter.strokePath(dashes, pen);
}
} // namespace

std::string WaveformPicture::pathOfSound(const std::string& soundPath) {
    const std::size_t slash = soundPath.rfind('/');
    const std::size_t nameAt = slash == std::string::npos ? 0 : slash + 1;
    std::string name = soundPath.substr(nameAt);
    if (!name.empty())
        name.front() = '.';
    // The dot that hides the name is no extension's.
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0)
        name.resize(dot);
    return soundPath.substr(0, nameAt) + name + "." + std::string(SoundFileNames::imageExtension);
}

QImage WaveformPicture::drawn(std::span<const WaveformEnvelope::Column> columns, const QSize& size) {
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::black);
    QPainter painter(&picture);
    painter.translate(0.0, size.height());
    painter.scale(1.0, -1.0);
    drawEnvelope(painter, columns, size.height());
    drawGrid(painter, size.width(), size.height());
    return picture;
}

bool WaveformPicture::keep(Volume& volume, const std::string& soundPath, const QImage& picture,
                           std::int64_t soundBytes) {
    const QImage points = picture.convertToFormat(QImage::Format_RGB888);
    TiffFile tiff{static_cast<std::uint32_t>(points.width()),
                  static_cast<std::uint32_t>(points.height()),
                  descriptionOf(soundBytes),
                  {}};
    const std::size_t rowBytes = static_cast<std::size_t>(points.width()) * 3;
    tiff.rgb.resize(rowBytes * static_cast<std::size_t>(points.height()));
    for (int row = 0; row < points.height(); ++row)
        std::memcpy(tiff.rgb.data() + static_cast<std::size_t>(row) * rowBytes, points.constScanLine(row),
                    rowBytes);

    const std::string path = pathOfSound(soundPath);
    const std::string aside = asidePathOf(path);
    const std::unique_ptr<VolumeFile> file = volume.create(aside);
    if (!file)
        return false;
    const bool written = file->writeAt(0, tiff.encoded()) == 0 && file->close() == 0;
    const int removed = written ? volume.remove(path) : 0;
    if (written && (removed == 0 || removed == ENOENT) && volume.renameWithoutReplacing(aside, path) == 0)
        return true;
    volume.remove(aside);
    return false;
}

std::optional<QImage> WaveformPicture::kept(Volume& volume, const std::string& soundPath, const QSize& size,
                                            std::int64_t soundBytes) {
    const std::unique_ptr<VolumeFile> file = volume.openForReading(pathOfSound(soundPath));
    const std::int64_t bytes = file ? file->size() : -1;
    if (bytes <= 0 || bytes > largestPictureFile)
        return std::nullopt;
    std::vector<std::byte> content(static_cast<std::size_t>(bytes));
    if (file->readAt(0, content) != bytes)
        return std::nullopt;
    const auto tiff = TiffFile::decoded(content, static_cast<std::uint32_t>(size.width()),
                                        static_cast<std::uint32_t>(size.height()));
    if (!tiff || tiff->description != descriptionOf(soundBytes))
        return std::nullopt;
    const QImage points(reinterpret_cast<const uchar*>(tiff->rgb.data()), size.width(), size.height(),
                        size.width() * 3, QImage::Format_RGB888);
    return points.convertToFormat(QImage::Format_RGB32);
}
