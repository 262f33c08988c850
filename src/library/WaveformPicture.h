// library/WaveformPicture.h — the overview picture of a recording, and the hidden file that keeps it.
#pragma once
#include "library/WaveformEnvelope.h"

#include <cstdint>
#include <optional>
#include <QImage>
#include <QSize>
#include <span>
#include <string>

class Volume;

/// Draws and keeps pictures. A kept one says how many bytes of sound it was drawn from: one of a file that has
/// grown since is not taken for its picture. Any thread.
struct WaveformPicture {
    /// F/.abc.tif for the sound file F/Rabc.aiff.
    static std::string pathOfSound(const std::string& soundPath);
    /// Cyan on black with a white grid; y grows upwards from the lower edge, as the samples do.
    static QImage drawn(std::span<const WaveformEnvelope::Column> columns, const QSize& size);

    /// Replaces the kept picture of `soundPath`, which is written aside first: there is never half of one.
    /// False when it could not be kept; an older one is gone or whole then.
    static bool keep(Volume& volume, const std::string& soundPath, const QImage& picture,
                     std::int64_t soundBytes);
    /// The kept picture; nothing when there is none, or it is torn, of another size, or drawn from another
    /// length of sound.
    static std::optional<QImage> kept(Volume& volume, const std::string& soundPath, const QSize& size,
                                      std::int64_t soundBytes);
};
