// storage/FileFolder.h — a folder of one test, with its files as texts.
#pragma once
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class FileFolder : public TemporaryFolder {
public:
    std::string operator/(const std::string& name) const { return path() + "/" + name; }

    /// Removes what is there first: cutting an existing file short makes some file systems wait for the disk.
    void write(const std::string& name, const std::string& contents) const {
        std::filesystem::remove(*this / name);
        std::ofstream(*this / name, std::ios::binary) << contents;
    }
    std::string read(const std::string& name) const {
        std::ifstream file(*this / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool has(const std::string& name) const { return std::filesystem::exists(*this / name); }
};
