// A product data folder for a test, and what printers keep of one.
#pragma once

#include <string>
#include <string_view>

#include "environment/printer.h"
#include "environment/productdata.h"
#include "environment/productfiles.h"
#include "support/temporaryfolder.h"
#include "utilities/utilitiesdll/cxstring.h"

/// A temporary folder, named as product data is.
class ProductFolder {
public:
    void Write(const std::string& name, std::string_view content) const { m_folder.Write(name, content); }

    CXString GetName() const { return productfiles::NameOf(m_folder.GetPath()); }
    CXString NameOf(const std::string& file) const { return productfiles::NameOf(PathOf(file)); }
    std::string GetPath() const { return m_folder.GetPath().string(); }
    std::filesystem::path PathOf(const std::string& name) const { return m_folder / name; }

    /// What its files say, with a current model.
    ProductData Read(const char* model, HANDLE printer = nullptr) const {
        return ProductData(printer, GetName(), ProductData::ModelTypeName, CXString(model));
    }

private:
    TemporaryFolder m_folder;
};

/// Stores a text among a printer's driver data.
inline void StoreText(Printer& printer, const WChar* name, const CXString& text,
                      DWORD type = Printer::typeString) {
    printer.SetPrinterDataExW(Printer::driverDataKey, name, type, ByteBuffer(text).appendNullChar());
}
