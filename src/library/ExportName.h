// library/ExportName.h — under which name a recording is exported.
#pragma once
#include <optional>
#include <string>
#include <string_view>

/// Adds the parts that a person wished for to the chosen path, the date first. Any thread.
struct ExportName {
    static constexpr std::size_t longestName = 255; ///< bytes, of the path's last part

    /// Of a range, as seconds since midnight.
    struct Times {
        double start = 0.0;
        double end = 0.0;
    };
    /// "20071024_093000~101500" of the recording `source`; with `times`, those instead of its own.
    static std::string datePart(std::string_view source, const std::optional<Times>& times);
    /// `path` with "_" and `part` before its extension.
    static std::string withPart(const std::string& path, std::string_view part);
    /// The same for a note, fit for a name: no slash, and cut between two characters where the name would get
    /// too long. A note that is empty, or has no room, leaves the path as it is.
    static std::string withNote(const std::string& path, std::string_view note);
};
