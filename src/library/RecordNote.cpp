#include "library/RecordNote.h"

#include "library/Utf8.h"
#include "storage/AiffHeader.h"
#include "storage/Volume.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <span>
#include <sys/stat.h>

namespace {
bool isRegularFile(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::string onOneLine(std::string_view note) {
    std::string line(note.substr(0, note.find('\0')));
    for (char& character : line)
        if (character == '\n' || character == '\r' || character == '\t')
            character = ' ';
    return line;
}
} // namespace

std::string RecordNote::read(Volume& volume, const std::string& path) {
    const auto file = volume.openForReading(path);
    std::array<std::byte, fieldSize> bytes{};
    const std::int64_t got = file == nullptr ? 0 : file->readAt(AiffHeader::noteAt, bytes);
    if (got <= 0)
        return {};
    const std::string text =
        onOneLine({reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(got)});
    const std::string_view whole = Utf8::withoutCutEnd(text);
    return Utf8::isPlainText(whole) ? std::string(whole) : std::string();
}

int RecordNote::write(Volume& volume, const std::string& path, std::string_view note) {
    if (!isRegularFile(path))
        return EINVAL;
    errno = 0;
    const auto file = volume.openForUpdating(path);
    if (file == nullptr)
        return errno != 0 ? errno : EIO;
    AiffHeader header;
    if (header.read(*file) != SoundFileError::none || !header.ownLayout)
        return EINVAL;
    const std::string text = fitting(note);
    const auto bytes = std::as_bytes(std::span(text.c_str(), text.size() + 1));
    if (const int error = file->writeAt(AiffHeader::noteAt, bytes); error != 0)
        return error;
    if (const int error = file->synchronize(); error != 0)
        return error;
    return file->close();
}

std::string RecordNote::fitting(std::string_view note) {
    const std::string line = onOneLine(note);
    return std::string(Utf8::withoutCutEnd(std::string_view(line).substr(0, longest)));
}
