// recorder/MarkerSounds.h — where marker sounds lie, and by which names.
#pragma once
#include <string>
#include <vector>

/// The sound files of some folders, by their names without extension. The folders are looked into anew each
/// time: sounds may come and go while the program runs.
class MarkerSounds {
public:
    /// Full paths. A sound in an earlier folder hides those of the same name in later ones; the last folder is
    /// that of the bundled sounds.
    explicit MarkerSounds(std::vector<std::string> folders) : m_folders(std::move(folders)) {}

    // Main thread
    /// Each name once, in alphabetical order.
    std::vector<std::string> names() const;
    /// The file of a sound; of several that differ in their extension the AIFF file comes first. An empty name
    /// means the first bundled sound. Empty when there is none.
    std::string pathOf(const std::string& name) const;

private:
    std::vector<std::string> m_folders;
};
