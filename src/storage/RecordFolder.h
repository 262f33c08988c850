// storage/RecordFolder.h — the recordings that lie in a folder.
#pragma once
#include <string>
#include <string_view>
#include <vector>

class Volume;

struct Recording {
    std::string name;     ///< bare
    double seconds = 0.0; ///< by its name at first, which is the longest it can be
    bool locked = false;
    bool inProgress = false;      ///< being written now: neither counted nor deleted
    bool endsBeforeStart = false; ///< earlier in the day, as its name says: its sound tells the length
};

/// Lists recordings by name: hidden ones first, then the oldest. Folders, links and pipes named like one are
/// none, and what lies in folders below is none of this folder's: it could never be deleted to make room, so it
/// must not make others be deleted in its place. Any thread.
struct RecordFolder {
    struct Listing {
        std::vector<Recording> recordings;
        int error = 0; ///< errno of a folder that could not be read to its end; no recordings then
    };
    /// As the names tell: the files themselves are not looked at, and no lock is seen (see `RecordingLooks`).
    /// `progressPath` is the second name of the recording in progress, or empty.
    static Listing list(Volume& volume, const std::string& folder, std::string_view progressPath);
    /// Seconds of all unlocked recordings but the one in progress.
    static double totalTimeExceptLocked(const std::vector<Recording>& recordings);
    /// What comes after the last slash.
    static std::string_view bareName(std::string_view path) { return path.substr(path.rfind('/') + 1); }
    /// The waveform picture beside the sound file `path`: hidden, the name's first character gives way to a
    /// dot.
    static std::string imagePath(std::string_view path);
};
