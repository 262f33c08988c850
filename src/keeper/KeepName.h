// keeper/KeepName.h — what the name of a kept file says.
#pragma once
#include <optional>
#include <string>
#include <string_view>

/// The name of a compressed recording, such as "_Velmoratide_20071024_093000~101500.aif.bz2", read by the
/// recorder's header and extension. Any thread.
class KeepName {
public:
    KeepName(std::string headerString, std::string fileExtension)
        : m_header(std::move(headerString)), m_extension(std::move(fileExtension)) {}

    unsigned headerLength() const { return static_cast<unsigned>(m_header.size()); }
    /// By the bare name alone: long enough, our header from its second character on, and any extension but that
    /// of a recording.
    bool isKeepDataFile(std::string_view name) const;
    /// Whether the file is a recording that still waits for its compression, "+" before its extension or not.
    bool isUncompressed(std::string_view name) const;
    bool hasSoundExtension(std::string_view name) const { return extensionOf(name) == m_extension; }
    /// Seconds from the start to the stop in the name; one before the start is on the next day. 0 when the name
    /// bears no times.
    double totalSecondOfFile(std::string_view name) const;

    struct TimeOfDay {
        int hour = 0;
        int minute = 0;
        int second = 0;
    };
    /// Nothing when there are no six digits at its place.
    std::optional<TimeOfDay> startTime(std::string_view name) const { return timeAt(name, startOffset); }
    std::optional<TimeOfDay> stopTime(std::string_view name) const { return timeAt(name, stopOffset); }
    /// From start to stop; all zero when the name bears no times.
    TimeOfDay recordedLength(std::string_view name) const;
    /// Of the form YY.MM.DD.
    std::string date(std::string_view name) const;

    /// Without its dot; empty when there is none. A dot that leads the name begins no extension.
    static std::string_view extensionOf(std::string_view name);
    /// The name without its last extension.
    static std::string_view stemOf(std::string_view name);

private:
    static constexpr std::size_t dateOffset = 2; ///< behind the header, as the next two
    static constexpr std::size_t startOffset = 9;
    static constexpr std::size_t stopOffset = 16;

    bool bearsHeader(std::string_view name) const;
    std::optional<TimeOfDay> timeAt(std::string_view name, std::size_t offset) const;

    std::string m_header;
    std::string m_extension;
};
