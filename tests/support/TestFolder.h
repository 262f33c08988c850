// support/TestFolder.h — a folder that lives as long as a test.
#pragma once
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <stdlib.h>
#include <string>

/// A fresh folder, removed with its contents at the end.
class TestFolder {
public:
    TestFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "velmoratide-test-XXXXXX").string();
        EXPECT_NE(mkdtemp(pattern.data()), nullptr);
        m_path = pattern;
    }
    ~TestFolder() {
        std::error_code ignored; // a test that took away its own rights leaves the rest to the system
        std::filesystem::remove_all(m_path, ignored);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    const std::string& path() const { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

    void write(const std::string& name, const std::string& contents) const {
        std::ofstream(*this / name, std::ios::binary) << contents;
    }
    std::string read(const std::string& name) const {
        std::ifstream file(*this / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool has(const std::string& name) const { return std::filesystem::exists(*this / name); }

private:
    std::string m_path;
};
