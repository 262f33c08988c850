// BenchFolder.h — a folder of one benchmark.
#pragma once
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>

/// Goes with all that is in it. Its path is empty when it could not be made.
class BenchFolder {
public:
    BenchFolder() { m_path = ::mkdtemp(m_path.data()) == nullptr ? std::string() : m_path; }
    ~BenchFolder() {
        std::error_code ignored; // it is in the system's temporary folder
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, ignored);
    }
    BenchFolder(const BenchFolder&) = delete;
    BenchFolder& operator=(const BenchFolder&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path = std::filesystem::temp_directory_path().string() + "/velmoratide-bench-XXXXXX";
};
