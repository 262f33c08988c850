// storage/RecordingName.h — what the name of a recording says.
#pragma once
#include <optional>
#include <string_view>

/// A name such as "_Velmoratide_20071024_093000~101500.aif", taken apart.
///
/// Stricter than `SoundFileNames::isSoundFile`: what counts towards a budget, and what may be deleted for it,
/// begins with one of the two headers and bears real dates and times. Any thread.
struct RecordingName {
    int startSeconds = 0; ///< since midnight
    int endSeconds = 0;   ///< since midnight
    bool hidden = false;

    /// Nothing for the name of anything else. `name` is bare: with a folder before it, it is no recording's.
    static std::optional<RecordingName> of(std::string_view name);
    /// Seconds from start to end. An end before the start is on the next day, so this is less than a day.
    int length() const;
};
