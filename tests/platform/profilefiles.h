// Profile (INI) files for tests, each of its own name: the platform may remember what a file held.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

#include "platform/types.h"

namespace profiletest {

namespace fs = std::filesystem;

/// A folder that is removed at the end.
class Folder {
public:
    Folder() : m_path(fs::temp_directory_path() / ("nvutil_test_" + std::to_string(std::random_device()()))) {
        fs::create_directories(m_path);
    }
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    fs::path operator/(const fs::path& name) const { return m_path / name; }
    const fs::path& GetPath() const { return m_path; }

private:
    fs::path m_path;
};

/// A file in a folder; not there until something writes it.
class File {
public:
    explicit File(fs::path path) : m_path(std::move(path)), m_name(m_path.string<WChar>()) {}
    File(fs::path path, std::string_view content) : File(std::move(path)) {
        std::ofstream(m_path, std::ios::binary) << content;
    }

    operator const WChar*() const { return m_name.c_str(); }
    const fs::path& GetPath() const { return m_path; }

    std::string GetContent() const {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    fs::path m_path;
    std::basic_string<WChar> m_name;
};

}  // namespace profiletest
