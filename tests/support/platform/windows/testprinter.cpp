// TestPrinter: a printer that is installed with a driver of its own.
#include "support/platform/testprinter.h"

#include <windows.h>
// Needs the types above.
#include <winspool.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "utilities/base/formattext.h"

namespace {

using Text = std::wstring;

CXString NewName() {
    static std::atomic<LONG> count = 0;
    return FormatText(NV_TEXT("Test printer %lu-%ld"), GetCurrentProcessId(), ++count);
}

void Require(bool isGood, const char* what) {
    if (!isGood) throw std::runtime_error(what + std::string(": error ") + std::to_string(GetLastError()));
}

/// Installs a driver whose files are one file of a few bytes.
void InstallDriver(Text name) {
    std::array<wchar_t, MAX_PATH> folder{};
    DWORD needed = 0;
    Require(GetPrinterDriverDirectoryW(nullptr, nullptr, 1, reinterpret_cast<BYTE*>(folder.data()),
                                       static_cast<DWORD>(sizeof folder), &needed) != FALSE,
            "GetPrinterDriverDirectory");
    Text file = Text(folder.data()) + L"\\nvutiltest.dll";
    std::ofstream(std::filesystem::path(file)) << "no driver";
    DRIVER_INFO_3W driver{};
    driver.cVersion = 3;
    driver.pName = name.data();
    driver.pDriverPath = driver.pDataFile = driver.pConfigFile = file.data();
    Require(AddPrinterDriverExW(nullptr, 3, reinterpret_cast<BYTE*>(&driver),
                                APD_COPY_ALL_FILES | APD_COPY_FROM_DIRECTORY) != FALSE,
            "AddPrinterDriverEx");
}

void InstallPrinter(Text name, Text driver) {
    Text port = L"FILE:";
    Text processor = L"WinPrint";
    Text datatype = L"RAW";
    PRINTER_INFO_2W printer{};
    printer.pPrinterName = name.data();
    printer.pDriverName = driver.data();
    printer.pPortName = port.data();
    printer.pPrintProcessor = processor.data();
    printer.pDatatype = datatype.data();
    const HANDLE handle = AddPrinterW(nullptr, 2, reinterpret_cast<BYTE*>(&printer));
    Require(handle != nullptr, "AddPrinter");
    ClosePrinter(handle);
}

constexpr const wchar_t* driverName = L"Test driver";

}  // namespace

TestPrinter::TestPrinter() : m_name(NewName()) {
    InstallDriver(driverName);
    InstallPrinter(static_cast<const wchar_t*>(m_name), driverName);
}

TestPrinter::~TestPrinter() {
    Text name = static_cast<const wchar_t*>(m_name);
    PRINTER_DEFAULTSW defaults{nullptr, nullptr, PRINTER_ALL_ACCESS};
    HANDLE handle = nullptr;
    if (OpenPrinterW(name.data(), &handle, &defaults) == FALSE) return;
    DeletePrinter(handle);
    ClosePrinter(handle);
    Text driver = driverName;
    DeletePrinterDriverExW(nullptr, nullptr, driver.data(), DPD_DELETE_UNUSED_FILES, 0);
}

ByteBuffer TestPrinter::ReadDirectly(const CXString& valueName) const {
    Text name = static_cast<const wchar_t*>(m_name);
    Text value = static_cast<const wchar_t*>(valueName);
    HANDLE handle = nullptr;
    if (OpenPrinterW(name.data(), &handle, nullptr) == FALSE) return {};
    ByteBuffer bytes(100'000);
    DWORD size = 0;
    const DWORD result =
        ::GetPrinterDataW(handle, value.data(), nullptr, bytes.data(), bytes.getDword(), &size);
    ClosePrinter(handle);
    bytes.resize(result == ERROR_SUCCESS ? size : 0);
    return bytes;
}
