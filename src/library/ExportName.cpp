#include "library/ExportName.h"

#include "library/TimeStrings.h"
#include "library/Utf8.h"
#include "storage/RecordFolder.h"

#include <algorithm>

namespace {
constexpr std::size_t dateAt = 13;
constexpr std::size_t dateLength = 9; // with the "_" behind it

/// Of the dot of the extension; the path's size when it has none.
std::size_t dotOf(std::string_view path) {
    const std::string_view name = RecordFolder::bareName(path);
    const std::size_t dot = name.rfind('.');
    const bool hasNone = dot == std::string_view::npos || dot == 0;
    return hasNone ? path.size() : path.size() - name.size() + dot;
}
} // namespace

std::string ExportName::datePart(std::string_view source, const std::optional<Times>& times) {
    const std::string_view stem = source.substr(0, dotOf(source));
    const std::string_view date = stem.substr(std::min(dateAt, stem.size()));
    if (!times)
        return std::string(date);
    return std::string(date.substr(0, dateLength)) + TimeStrings::numberStringWithSeconds(times->start) + "~" +
           TimeStrings::numberStringWithSeconds(times->end);
}

std::string ExportName::withPart(const std::string& path, std::string_view part) {
    std::string named = path;
    return named.insert(dotOf(path), "_" + std::string(part));
}

std::string ExportName::withNote(const std::string& path, std::string_view note) {
    const std::size_t taken = RecordFolder::bareName(path).size() + 1; // with the "_"
    if (taken >= longestName)
        return path;
    std::string part(Utf8::withoutCutEnd(note.substr(0, longestName - taken)));
    std::ranges::replace(part, '/', '-');
    return part.empty() ? path : withPart(path, part);
}
