// storage/SoundFileNames.h — the names of recordings.
#pragma once
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// Makes and recognises names such as "_Velmoratide_20071024_093000~101500.aif". Names are bare, without a
/// folder; their lengths are bytes. Any thread.
struct SoundFileNames {
    static constexpr char headerString[] = "_Velmoratide_";
    static constexpr char hiddenHeaderString[] = ".Velmoratide_"; ///< the dot hides the file
    static constexpr std::string_view soundExtension = "aif";
    static constexpr std::string_view imageExtension = "tif";

    static std::string whichHeaderString(bool hideSoundFile) {
        return hideSoundFile ? hiddenHeaderString : headerString;
    }
    /// `leading` is one of the headers, `start` is "YYYYmmdd_HHMMSS", `stop` "HHMMSS"; without an extension
    /// there is no dot either.
    static std::string finalName(std::string_view leading, std::string_view start, std::string_view stop,
                                 std::optional<std::string_view> extension);
    static constexpr std::size_t longestName = 255; ///< that a folder takes
    /// `name` with as many "+" before its extension as it takes until `exists` denies it; with one "+" and a
    /// number where that many would make it too long. A name that is too long itself stays as it is.
    static std::string freeName(std::string name, const std::function<bool(const std::string&)>& exists);
    /// A recording's name, visible or hidden. A name made free by a "+" is none.
    static bool isSoundFile(std::string_view name);
    /// A waveform picture beside a recording.
    static bool isImageFile(std::string_view name);
};
