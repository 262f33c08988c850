// A folder of one test, removed with all that is in it.
#pragma once
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "velmoratide-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            ADD_FAILURE() << "no temporary folder";
        m_path = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored; // what cannot be removed is left to the system's own cleaning
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};
