// Printers and their driver data: typed values under a key and a name.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/text.h"
#include "platform/types.h"

namespace platform {

/// How an operation on a printer ended.
struct PrinterStatus {
    DWORD code = 0;  ///< The platform's error code; 0 is success. The codes below mean the same everywhere.
    Text detail;     ///< What failed, for people; empty when the text of the code says all.

    bool IsSuccess() const { return code == 0; }
};

// Codes that callers tell apart.
constexpr DWORD printerValueAbsent = 2;
constexpr DWORD invalidPrinterHandle = 6;
constexpr DWORD invalidPrinterParameter = 87;
constexpr DWORD unknownPrinter = 1801;

/// The largest value that is read or written, in bytes. The settings of a printer need a few thousand.
constexpr DWORD largestPrinterValue = 16 * 1024 * 1024;

/// How long an operation waits for other processes, in milliseconds.
constexpr DWORD printerPatience = 30'000;

/// One value under a key.
struct PrinterValue {
    DWORD type = 0;  ///< The registry's type: 3 for bytes, 4 for a 32-bit number, 1 for text.
    std::vector<BYTE> data;
};

/// Opens a printer. Names, like keys and names of values, are compared without regard to case; off Windows
/// that is so for ASCII letters only.
/// @param mayBeNew  accept a name that is not known where the platform has no spooler that installs printers;
///                  the printer then comes into being with its first value
PrinterStatus OpenPrinterByName(const Text& name, bool mayBeNew, HANDLE& handle);
void ClosePrinterHandle(HANDLE handle);
PrinterStatus GetPrinterName(HANDLE handle, Text& name);

/// Reads a value whole, also when it grows meanwhile. The code is `printerValueAbsent` when there is none.
PrinterStatus ReadPrinterValue(HANDLE handle, const Text& key, const Text& name, PrinterValue& value);
PrinterStatus WritePrinterValue(HANDLE handle, const Text& key, const Text& name, const PrinterValue& value);
PrinterStatus DeletePrinterValue(HANDLE handle, const Text& key, const Text& name);
/// The names of a key's values; none for a key that does not exist.
PrinterStatus ListPrinterValues(HANDLE handle, const Text& key, std::vector<Text>& names);
/// When a value was written, in seconds since 1970-01-01 00:00:00 UTC; empty where the platform does not
/// keep it.
PrinterStatus ReadPrinterValueTime(HANDLE handle, const Text& key, const Text& name,
                                   std::optional<std::int64_t>& seconds);
/// The names of all printers.
PrinterStatus ListPrinters(std::vector<Text>& names);

/// What a process holds while nobody else may begin an update of the same printer.
struct PrinterUpdate;

/// Waits until no other process or thread updates the printer, up to `printerPatience`.
PrinterStatus BeginPrinterUpdate(HANDLE handle, PrinterUpdate*& update);
/// Ends an update and keeps what was written. On failure nothing of it is kept where updates can be taken
/// back.
PrinterStatus CommitPrinterUpdate(PrinterUpdate* update);
/// Ends an update and takes back what was written, where the platform can do so.
void AbandonPrinterUpdate(PrinterUpdate* update);

}  // namespace platform
