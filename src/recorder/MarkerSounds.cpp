#include "recorder/MarkerSounds.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

namespace {
namespace fs = std::filesystem;

// In order of preference; what libsndfile reads by its header.
constexpr std::array<std::string_view, 28> extensions{
    ".aiff", ".aif", ".aifc", ".wav", ".wave", ".flac", ".ogg", ".oga", ".opus", ".mp3",
    ".mp2",  ".au",  ".snd",  ".caf", ".w64",  ".rf64", ".voc", ".sf",  ".paf",  ".svx",
    ".8svx", ".iff", ".nist", ".sph", ".avr",  ".pvf",  ".xi",  ".mat"};

/// The place of the extension in the list; its size when it is no sound's.
std::size_t rankOf(const fs::path& file) {
    std::string extension = file.extension().string();
    for (char& letter : extension)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return static_cast<std::size_t>(std::find(extensions.begin(), extensions.end(), extension) -
                                    extensions.begin());
}

/// The sound files of a folder, hidden ones left out. One that is missing or may not be read has none.
std::vector<fs::path> soundFiles(const std::string& folder) {
    std::vector<fs::path> found;
    std::error_code fault;
    for (fs::directory_iterator entry(folder, fault), end; !fault && entry != end; entry.increment(fault)) {
        const fs::path& path = entry->path();
        std::error_code gone;
        if (rankOf(path) < extensions.size() && !path.filename().string().starts_with('.') &&
            !entry->is_directory(gone))
            found.push_back(path);
    }
    return found;
}
} // namespace

std::vector<std::string> MarkerSounds::names() const {
    std::set<std::string> found;
    for (const std::string& folder : m_folders)
        for (const fs::path& file : soundFiles(folder))
            found.insert(file.stem().string());
    return {found.begin(), found.end()};
}

std::string MarkerSounds::pathOf(const std::string& name) const {
    if (name.empty()) {
        const auto bundled =
            m_folders.empty() ? std::vector<std::string>() : MarkerSounds({m_folders.back()}).names();
        return bundled.empty() ? "" : MarkerSounds({m_folders.back()}).pathOf(bundled.front());
    }
    for (const std::string& folder : m_folders) {
        std::vector<fs::path> files = soundFiles(folder);
        std::erase_if(files, [&name](const fs::path& file) { return file.stem().string() != name; });
        const auto best = std::min_element(files.begin(), files.end(), [](const auto& one, const auto& other) {
            return std::pair(rankOf(one), one.string()) < std::pair(rankOf(other), other.string());
        });
        if (best != files.end())
            return best->string();
    }
    return "";
}
