// Profile (INI) files for tests, each of its own name: the platform may remember what a file held.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/types.h"
#include "support/temporaryfolder.h"

namespace profiletest {

namespace fs = std::filesystem;

using Folder = TemporaryFolder;

/// A file in a folder; not there until something writes it.
class File {
public:
    explicit File(fs::path path) : m_path(std::move(path)), m_name(m_path.string<WChar>()) {}
    File(fs::path path, std::string_view content) : File(std::move(path)) { WriteWholeFile(m_path, content); }

    operator const WChar*() const { return m_name.c_str(); }
    const fs::path& GetPath() const { return m_path; }

    std::string GetContent() const { return ReadWholeFile(m_path); }

private:
    fs::path m_path;
    std::basic_string<WChar> m_name;
};

}  // namespace profiletest
