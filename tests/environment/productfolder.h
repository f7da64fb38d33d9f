// A product data folder for a test.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "environment/productfiles.h"
#include "platform/profilefiles.h"
#include "utilities/utilitiesdll/cxstring.h"

/// A folder of its own that is removed at the end.
class ProductFolder {
public:
    /// Adds a file, and the folders above it.
    void Write(const std::string& name, std::string_view content) const {
        const std::filesystem::path path = m_folder / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << content;
    }

    CXString GetName() const { return productfiles::NameOf(m_folder.GetPath()); }
    CXString NameOf(const std::string& file) const { return productfiles::NameOf(m_folder / file); }
    std::string GetPath() const { return m_folder.GetPath().string(); }

private:
    profiletest::Folder m_folder;
};
