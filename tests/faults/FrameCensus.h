// faults/FrameCensus.h — which frames of the counting signal the files of a folder hold.
#pragma once
#include "storage/SoundFileNames.h"
#include "support/Counting.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

/// Counts frames of recordings that are stereo and at the device's rate. In whatever order the files were made,
/// and whatever their names say: each frame bears its number. Silence (a frame of zeros) bears none.
class FrameCensus {
public:
    /// Consecutive numbers in a file; device frames from `first` up to but without `end`.
    struct Run {
        std::string name;
        std::int64_t first = 0;
        std::int64_t end = 0;
        std::int64_t frames() const { return end - first; }
    };
    struct Piece {
        std::string name;
        std::int64_t frames = 0; ///< of the file, silent ones too
        std::int64_t first = 0;  ///< the first number in it
        std::int64_t end = 0;    ///< behind the last one
        std::size_t runs = 0;
        std::string information;
    };

    /// All recordings of a folder, also those whose name was made free by a "+".
    void addFolder(const std::string& folder) {
        std::vector<std::string> paths;
        std::error_code missing;
        for (const auto& entry : std::filesystem::directory_iterator(folder, missing))
            if (entry.is_regular_file() && isRecording(entry.path().filename().string()))
                paths.push_back(entry.path().string());
        std::sort(paths.begin(), paths.end());
        for (const std::string& path : paths)
            add(path);
    }
    void add(const std::string& path) {
        const std::string name = std::filesystem::path(path).filename().string();
        std::ifstream file(path, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        if (const std::string why = damage(bytes); !why.empty())
            m_faults.push_back(name + " " + why);
        // What its header knows of is readable whatever comes behind it.
        if (bytes.size() > soundAt)
            readSound(name, bytes.substr(0, soundAt + static_cast<std::size_t>(wordAt(bytes, 22, 4)) * 4));
    }
    /// The sound of a temporary file: its header need not be up to date.
    void addTemporary(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        if (bytes.size() > soundAt)
            readSound(std::filesystem::path(path).filename().string(), bytes);
    }
    /// Bare samples, as sound lies in a file that was put aside.
    void addBare(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        readSound(std::filesystem::path(path).filename().string(), std::string(soundAt, '\0') + bytes);
    }

    static bool isRecording(const std::string& name) {
        return name.starts_with(SoundFileNames::headerString) && name.ends_with(".aif");
    }
    /// Files in the order of their sound.
    std::vector<Piece> pieces() const {
        std::vector<Piece> sorted = m_pieces;
        std::sort(sorted.begin(), sorted.end(),
                  [](const Piece& left, const Piece& right) { return left.first < right.first; });
        return sorted;
    }
    std::vector<Run> runs() const {
        std::vector<Run> sorted = m_runs;
        std::sort(sorted.begin(), sorted.end(),
                  [](const Run& left, const Run& right) { return left.first < right.first; });
        return sorted;
    }
    /// Numbers that lie in no file, between the first and the last that do.
    std::vector<Run> gaps() const {
        std::vector<Run> found;
        std::int64_t end = -1;
        for (const Run& run : runs()) {
            if (end >= 0 && run.first > end)
                found.push_back({run.name, end, run.first});
            end = std::max(end, run.end);
        }
        return found;
    }
    /// Numbers that lie in the files more than once.
    std::vector<Run> doubled() const {
        std::vector<Run> found;
        std::int64_t end = -1;
        for (const Run& run : runs()) {
            if (run.first < end)
                found.push_back({run.name, run.first, std::min(run.end, end)});
            end = std::max(end, run.end);
        }
        return found;
    }
    std::int64_t lost() const {
        std::int64_t sum = 0;
        for (const Run& gap : gaps())
            sum += gap.frames();
        return sum;
    }
    std::int64_t first() const { return m_runs.empty() ? 0 : runs().front().first; }
    std::int64_t end() const {
        std::int64_t last = 0;
        for (const Run& run : m_runs)
            last = std::max(last, run.end);
        return last;
    }
    std::int64_t frames() const {
        std::int64_t sum = 0;
        for (const Piece& piece : m_pieces)
            sum += piece.frames;
        return sum;
    }
    /// Files that cannot be read.
    const std::vector<std::string>& faults() const { return m_faults; }
    /// What must never be: unreadable files and doubled frames. Empty where nothing is wrong.
    std::string complaint() const {
        std::string text;
        for (const std::string& fault : m_faults)
            text += fault + "; ";
        for (const Run& run : doubled())
            text += textOf("doubled ", run);
        return text;
    }
    /// `complaint`, and gaps.
    std::string complaintOfGaps() const {
        std::string text = complaint();
        for (const Run& run : gaps())
            text += textOf("lost ", run);
        return text;
    }

private:
    static constexpr std::size_t soundAt = 4096;

    static std::string textOf(const char* what, const Run& run) {
        return what + std::to_string(run.frames()) + " frames from " + std::to_string(run.first) + " on (" +
               run.name + "); ";
    }
    static std::int64_t wordAt(const std::string& bytes, std::size_t at, int size) {
        std::int64_t word = 0;
        for (int i = 0; i < size; ++i)
            word = word << 8 | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
        return word;
    }
    static std::string damage(const std::string& bytes) {
        if (bytes.size() <= soundAt)
            return "holds no sound";
        const auto size = static_cast<std::int64_t>(bytes.size());
        const std::int64_t sound = size - static_cast<std::int64_t>(soundAt);
        if (!bytes.starts_with("FORM") || wordAt(bytes, 20, 2) != 2)
            return "has no header of a stereo file";
        if (sound % 4 != 0 || wordAt(bytes, 4, 4) != size - 8 || wordAt(bytes, 22, 4) != sound / 4 ||
            wordAt(bytes, 4084, 4) != size - 4088)
            return "has a header that does not fit its size of " + std::to_string(size);
        return {};
    }
    void readSound(const std::string& name, const std::string& bytes) {
        Piece piece{.name = name, .information = bytes.substr(256, bytes.find('\0', 256) - 256)};
        Run run{name, -1, -1};
        for (std::size_t at = soundAt; at + 4 <= bytes.size(); at += 4, ++piece.frames) {
            const auto left = static_cast<std::int16_t>(wordAt(bytes, at, 2));
            const auto right = static_cast<std::int16_t>(wordAt(bytes, at + 2, 2));
            const bool silent = left == 0 && right == 0;
            const std::int64_t frame = counting::frameOf(left, right);
            if (!silent && frame == run.end) {
                ++run.end;
                continue;
            }
            close(piece, run);
            run = silent ? Run{name, -1, -1} : Run{name, frame, frame + 1};
        }
        close(piece, run);
        m_pieces.push_back(piece);
    }
    void close(Piece& piece, const Run& run) {
        if (run.first < 0)
            return;
        if (piece.runs++ == 0)
            piece.first = run.first;
        piece.end = run.end;
        m_runs.push_back(run);
    }

    std::vector<Piece> m_pieces;
    std::vector<Run> m_runs;
    std::vector<std::string> m_faults;
};
