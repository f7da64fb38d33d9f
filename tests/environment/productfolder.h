// A product data folder for a test.
#pragma once

#include <string>
#include <string_view>

#include "environment/productfiles.h"
#include "support/temporaryfolder.h"
#include "utilities/utilitiesdll/cxstring.h"

/// A temporary folder, named as product data is.
class ProductFolder {
public:
    void Write(const std::string& name, std::string_view content) const { m_folder.Write(name, content); }

    CXString GetName() const { return productfiles::NameOf(m_folder.GetPath()); }
    CXString NameOf(const std::string& file) const { return productfiles::NameOf(m_folder / file); }
    std::string GetPath() const { return m_folder.GetPath().string(); }

private:
    TemporaryFolder m_folder;
};
