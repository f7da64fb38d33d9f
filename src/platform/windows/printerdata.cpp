// Printers and their driver data, kept by the spooler.
#include "platform/printerdata.h"

#include <windows.h>
// Needs the types above.
#include <sddl.h>
#include <winspool.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace platform {

static_assert(printerValueAbsent == ERROR_FILE_NOT_FOUND && invalidPrinterHandle == ERROR_INVALID_HANDLE &&
              invalidPrinterParameter == ERROR_INVALID_PARAMETER &&
              unknownPrinter == ERROR_INVALID_PRINTER_NAME);

namespace {

// Someone who keeps enlarging what is asked for must not hold us for ever.
constexpr int mostAttempts = 100;

Status StatusOfLastError() {
    return {GetLastError(), {}};
}

Status StatusOf(DWORD code) {
    return {code, {}};
}

/// Reads something whose size is told by the platform and may change between two calls.
/// @param read  fills a buffer of some size, tells the size needed, and returns an error code
template <class Read>
DWORD ReadWhole(std::vector<BYTE>& buffer, Read read) {
    constexpr std::size_t firstSize = 4096;
    buffer.resize(firstSize);
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        DWORD needed = 0;
        const auto size = static_cast<DWORD>(buffer.size());
        const DWORD code = read(buffer.data(), size, needed);
        if (code == ERROR_SUCCESS) {
            // The platform's word, but never more than it was given room for.
            buffer.resize(std::min(needed, size));
            return code;
        }
        if (code != ERROR_MORE_DATA && code != ERROR_INSUFFICIENT_BUFFER) return code;
        if (needed > largestPrinterValue) return ERROR_INVALID_DATA;
        buffer.resize(std::max<std::size_t>(needed, size + firstSize));
    }
    return ERROR_MORE_DATA;
}

struct CloseMutex {
    void operator()(HANDLE mutex) const { CloseHandle(mutex); }
};
using OwnedMutex = std::unique_ptr<void, CloseMutex>;

struct FreeLocalMemory {
    void operator()(void* memory) const { LocalFree(memory); }
};

/// The mutex of a printer, the same for all users of the machine: the spooler's account saves settings too.
OwnedMutex OpenUpdateMutex(Text printer) {
    constexpr DWORD rights = SYNCHRONIZE | MUTEX_MODIFY_STATE;
    std::replace(printer.begin(), printer.end(), L'\\', L'/');  // what the name of a mutex must not have
    CharLowerBuffW(printer.data(), static_cast<DWORD>(printer.size()));
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;;0x00100001;;;WD)", SDDL_REVISION_1,
                                                         &descriptor, nullptr);
    const std::unique_ptr<void, FreeLocalMemory> ownedDescriptor(descriptor);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor, FALSE};
    const Text name = L"Global\\nvutil-printer-" + printer;
    return OwnedMutex(CreateMutexExW(&attributes, name.c_str(), 0, rights));
}

}  // namespace

struct PrinterUpdate {
    OwnedMutex mutex;
};

Status OpenPrinterByName(const Text& name, bool /*mayBeNew*/, HANDLE& handle) {
    if (name.empty()) return StatusOf(unknownPrinter);  // it would stand for the server
    Text writable = name;
    PRINTER_DEFAULTSW defaults{nullptr, nullptr, PRINTER_ACCESS_ADMINISTER | PRINTER_ACCESS_USE};
    if (OpenPrinterW(writable.data(), &handle, &defaults) != FALSE) return {};
    if (GetLastError() != ERROR_ACCESS_DENIED) return StatusOfLastError();
    defaults.DesiredAccess = PRINTER_ACCESS_USE;  // enough for reading
    return OpenPrinterW(writable.data(), &handle, &defaults) != FALSE ? Status{} : StatusOfLastError();
}

void ClosePrinterHandle(HANDLE handle) {
    ClosePrinter(handle);
}

Status GetPrinterName(HANDLE handle, Text& name) {
    std::vector<BYTE> buffer;
    const DWORD code = ReadWhole(buffer, [&](BYTE* bytes, DWORD size, DWORD& needed) {
        return GetPrinterW(handle, 2, bytes, size, &needed) != FALSE ? ERROR_SUCCESS : GetLastError();
    });
    if (code != ERROR_SUCCESS) return StatusOf(code);
    name = reinterpret_cast<const PRINTER_INFO_2W*>(buffer.data())->pPrinterName;
    return {};
}

Status ReadPrinterValue(HANDLE handle, const Text& key, const Text& name, PrinterValue& value) {
    return StatusOf(ReadWhole(value.data, [&](BYTE* bytes, DWORD size, DWORD& needed) {
        return GetPrinterDataExW(handle, key.c_str(), name.c_str(), &value.type, bytes, size, &needed);
    }));
}

Status WritePrinterValue(HANDLE handle, const Text& key, const Text& name, const PrinterValue& value) {
    BYTE none = 0;
    BYTE* const bytes = value.data.empty() ? &none : const_cast<BYTE*>(value.data.data());
    return StatusOf(SetPrinterDataExW(handle, key.c_str(), name.c_str(), value.type, bytes,
                                      static_cast<DWORD>(value.data.size())));
}

Status DeletePrinterValue(HANDLE handle, const Text& key, const Text& name) {
    return StatusOf(DeletePrinterDataExW(handle, key.c_str(), name.c_str()));
}

Status ListPrinterValues(HANDLE handle, const Text& key, std::vector<Text>& names) {
    std::vector<BYTE> buffer;
    DWORD count = 0;
    const DWORD code = ReadWhole(buffer, [&](BYTE* bytes, DWORD size, DWORD& needed) {
        return EnumPrinterDataExW(handle, key.c_str(), bytes, size, &needed, &count);
    });
    if (code == ERROR_FILE_NOT_FOUND || code == ERROR_NO_MORE_ITEMS) return {};
    if (code != ERROR_SUCCESS) return StatusOf(code);
    const auto* const values = reinterpret_cast<const PRINTER_ENUM_VALUESW*>(buffer.data());
    for (const PRINTER_ENUM_VALUESW* value = values; value != values + count; ++value)
        names.emplace_back(value->pValueName);
    return {};
}

Status ReadPrinterValueTime(HANDLE handle, const Text& key, const Text& name,
                            std::optional<std::int64_t>& /*seconds*/) {
    PrinterValue value;  // the spooler keeps no times, but an absent value is told apart all the same
    return ReadPrinterValue(handle, key, name, value);
}

Status ListPrinters(std::vector<Text>& names) {
    std::vector<BYTE> buffer;
    DWORD count = 0;
    const DWORD code = ReadWhole(buffer, [&](BYTE* bytes, DWORD size, DWORD& needed) {
        constexpr DWORD whose = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
        return EnumPrintersW(whose, nullptr, 4, bytes, size, &needed, &count) != FALSE ? ERROR_SUCCESS
                                                                                       : GetLastError();
    });
    if (code != ERROR_SUCCESS) return StatusOf(code);
    const auto* const printers = reinterpret_cast<const PRINTER_INFO_4W*>(buffer.data());
    for (const PRINTER_INFO_4W* printer = printers; printer != printers + count; ++printer)
        names.emplace_back(printer->pPrinterName);
    return {};
}

Status BeginPrinterUpdate(HANDLE handle, PrinterUpdate*& update) {
    Text name;
    Status status = GetPrinterName(handle, name);
    if (!status.IsSuccess()) return status;
    auto begun = std::make_unique<PrinterUpdate>(PrinterUpdate{OpenUpdateMutex(name)});
    if (begun->mutex == nullptr) return StatusOfLastError();
    // One whose owner died is as good as a free one: each write is complete or not there.
    const DWORD result = WaitForSingleObject(begun->mutex.get(), printerPatience);
    if (result == WAIT_TIMEOUT) return StatusOf(ERROR_BUSY);
    if (result == WAIT_FAILED) return StatusOfLastError();
    update = begun.release();
    return {};
}

Status CommitPrinterUpdate(PrinterUpdate* update) {
    AbandonPrinterUpdate(update);
    return {};
}

void AbandonPrinterUpdate(PrinterUpdate* update) {
    const std::unique_ptr<PrinterUpdate> ending(update);
    ReleaseMutex(ending->mutex.get());
}

}  // namespace platform
