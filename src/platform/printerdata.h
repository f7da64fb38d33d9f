// Printers and their driver data: typed values under a key and a name.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/status.h"
#include "platform/text.h"
#include "platform/types.h"

namespace platform {

// Codes that callers tell apart; they mean the same everywhere.
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
Status OpenPrinterByName(const Text& name, bool mayBeNew, HANDLE& handle);
void ClosePrinterHandle(HANDLE handle);
Status GetPrinterName(HANDLE handle, Text& name);

/// Reads a value whole, also when it grows meanwhile. The code is `printerValueAbsent` when there is none.
Status ReadPrinterValue(HANDLE handle, const Text& key, const Text& name, PrinterValue& value);
Status WritePrinterValue(HANDLE handle, const Text& key, const Text& name, const PrinterValue& value);
Status DeletePrinterValue(HANDLE handle, const Text& key, const Text& name);
/// The names of a key's values; none for a key that does not exist.
Status ListPrinterValues(HANDLE handle, const Text& key, std::vector<Text>& names);
/// When a value was written, in seconds since 1970-01-01 00:00:00 UTC; empty where the platform does not
/// keep it.
Status ReadPrinterValueTime(HANDLE handle, const Text& key, const Text& name,
                            std::optional<std::int64_t>& seconds);
/// The names of all printers.
Status ListPrinters(std::vector<Text>& names);

/// What a process holds while nobody else may begin an update of the same printer.
struct PrinterUpdate;

/// Waits until no other process or thread updates the printer, up to `printerPatience`.
Status BeginPrinterUpdate(HANDLE handle, PrinterUpdate*& update);
/// Ends an update and keeps what was written. On failure nothing of it is kept where updates can be taken
/// back.
Status CommitPrinterUpdate(PrinterUpdate* update);
/// Ends an update and takes back what was written, where the platform can do so.
void AbandonPrinterUpdate(PrinterUpdate* update);

}  // namespace platform
