// TemporaryFolder: a folder of its own for a test, and files read and written whole.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

inline std::string ReadWholeFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteWholeFile(const std::filesystem::path& path, std::string_view content) {
    std::ofstream(path, std::ios::binary) << content;
}

/// Removed with all that is in it at the end. No two have the same name, whoever runs the tests at the same
/// time.
class TemporaryFolder {
public:
    TemporaryFolder()
        : m_path(std::filesystem::temp_directory_path() /
                 ("nvutil_test_" + std::to_string(std::random_device()()) +
                  std::to_string(std::random_device()()))) {
        std::filesystem::create_directories(m_path);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& GetPath() const { return m_path; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return m_path / name; }
    /// Its path and that of a file, in UTF-8.
    std::string GetName() const { return InUtf8(m_path); }
    std::string NameOf(const std::filesystem::path& name) const { return InUtf8(m_path / name); }

    /// Adds a file, and the folders above it.
    std::filesystem::path Write(const std::filesystem::path& name, std::string_view content) const {
        const std::filesystem::path path = m_path / name;
        std::filesystem::create_directories(path.parent_path());
        WriteWholeFile(path, content);
        return path;
    }
    std::string Read(const std::filesystem::path& name) const { return ReadWholeFile(m_path / name); }
    /// How many files and folders it holds itself.
    std::ptrdiff_t CountEntries() const {
        return std::distance(std::filesystem::directory_iterator(m_path),
                             std::filesystem::directory_iterator());
    }

private:
    static std::string InUtf8(const std::filesystem::path& path) {
        const std::u8string text = path.u8string();
        return {text.begin(), text.end()};
    }

    std::filesystem::path m_path;
};
