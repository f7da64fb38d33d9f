// A product data folder for a test, and what printers keep of one.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "environment/printer.h"
#include "environment/productdata.h"
#include "environment/productfiles.h"
#include "platform/profilefiles.h"
#include "utilities/utilitiesdll/cxstring.h"

/// A folder of its own that is removed at the end.
class ProductFolder {
public:
    /// Adds a file, and the folders above it.
    void Write(const std::string& name, std::string_view content) const {
        std::filesystem::create_directories(PathOf(name).parent_path());
        std::ofstream(PathOf(name), std::ios::binary) << content;
    }

    CXString GetName() const { return productfiles::NameOf(m_folder.GetPath()); }
    CXString NameOf(const std::string& file) const { return productfiles::NameOf(PathOf(file)); }
    std::string GetPath() const { return m_folder.GetPath().string(); }
    std::filesystem::path PathOf(const std::string& name) const { return m_folder / name; }

    /// What its files say, with a current model.
    ProductData Read(const char* model, HANDLE printer = nullptr) const {
        return ProductData(printer, GetName(), ProductData::ModelTypeName, CXString(model));
    }

private:
    profiletest::Folder m_folder;
};

/// Stores a text among a printer's driver data.
inline void StoreText(Printer& printer, const WChar* name, const CXString& text,
                      DWORD type = Printer::typeString) {
    printer.SetPrinterDataExW(Printer::driverDataKey, name, type, ByteBuffer(text).appendNullChar());
}
