// storage/HidingRename.h — hides all sound files of a folder, or shows them.
#pragma once
#include <functional>
#include <string>
#include <vector>

class Volume;

/// Renames the sound files of one folder: the first character of a hidden one is a dot, of a shown one "_".
///
/// A lock is taken off for the renaming and put on again. A name that is taken already is never overwritten:
/// that file stays as it is. Folders and links are left alone. Main thread; can be done in steps, for a folder
/// may hold very many files.
class HidingRename {
public:
    enum class Wish { hide, show };

    /// Looks what there is to do. A folder that cannot be read is a failure.
    HidingRename(Volume& volume, std::string folder, Wish wish);

    /// Renames file by file until `pause` says true (asked after each) or all is done; true when it is.
    /// `isInUse` tells the bare names that must stay: of the recording in progress.
    bool proceed(const std::function<bool()>& pause, const std::function<bool(const std::string&)>& isInUse);

    unsigned renamed() const { return m_renamed; } ///< files
    /// One line per file that was not renamed as wished, or whose lock could not be put on again.
    const std::vector<std::string>& failures() const { return m_failures; }
    Wish wish() const { return m_wish; }

    /// The name of a sound file as `wish` has it.
    static std::string nameFor(std::string name, Wish wish);

private:
    void rename(const std::string& name);
    void fail(const std::string& what, const std::string& name, int error);

    Volume& m_volume;
    const std::string m_folder;
    const Wish m_wish;
    std::vector<std::string> m_names; // that are to be renamed
    std::size_t m_next = 0;
    unsigned m_renamed = 0;
    std::vector<std::string> m_failures;
};
