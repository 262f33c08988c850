// storage/Paths.h — paths as text.
#pragma once
#include <string>
#include <string_view>

/// Any thread.
struct Paths {
    /// `path` with a leading "~" replaced by the home folder: HOME, else what the system's user list says.
    /// Paths of other users ("~name/...") stay as they are.
    static std::string expandingTilde(std::string_view path);
    /// `name` inside `folder`, with one slash between them.
    static std::string inFolder(std::string_view folder, std::string_view name);
    /// What comes before the last component; "." for a bare name, "/" for a name in the root.
    static std::string folderOf(std::string_view path);
    /// Without slashes at its end.
    static std::string trimmed(std::string_view path);
};
