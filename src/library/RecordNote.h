// library/RecordNote.h — the note inside a sound file.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

class Volume;

/// A text of a recording's own, ended by a zero byte. Any thread.
struct RecordNote {
    static constexpr std::int64_t fieldSize = 128; ///< bytes
    static constexpr std::size_t longest = 127;    ///< bytes, so that the zero fits behind it

    /// The note of the file at `path`. Empty when there is none: a file that is too short or cannot be read, or
    /// bytes that are no text.
    static std::string read(Volume& volume, const std::string& path);
    /// 0, or an errno. Writes `fitting(note)` and a zero byte, nothing else; EINVAL and no change for a file
    /// that is not of our own layout, a folder, a link or anything else that is no file. Returns when the note
    /// is on the disk.
    static int write(Volume& volume, const std::string& path, std::string_view note);
    /// `note` as a file keeps it: on one line, cut between two characters when it is too long.
    static std::string fitting(std::string_view note);
};
