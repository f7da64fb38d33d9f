// PrinterLock: keeps others from changing one printer, in all processes of the machine.
#pragma once

#include <sys/types.h>

#include <filesystem>

#include "platform/text.h"

namespace platform {

/// Held as long as the object lives; the system lets go of it when the process ends, however it does.
///
/// Each printer has a byte of its own in an empty file beside the store, so that printers do not wait for
/// each other. Names that differ only in the case of ASCII letters have the same.
class PrinterLock {
public:
    /// Waits up to `printerPatience`. The file is made when it is missing, with the store's owner and mode.
    /// @throws PrinterStoreError when somebody else holds the lock for longer, or the file cannot be made
    PrinterLock(const std::filesystem::path& store, const Text& printer);
    PrinterLock(const PrinterLock&) = delete;
    PrinterLock& operator=(const PrinterLock&) = delete;
    ~PrinterLock();

    /// In a child of fork: gives up its part in the locks of its parent, which would else be held until both
    /// have ended.
    static void LeaveAllToParent() noexcept;

private:
    void Open(const std::filesystem::path& store, const std::filesystem::path& file);
    void Close() noexcept;
    bool IsOfFile(const std::filesystem::path& file) const;

    off_t m_byte;
    int m_descriptor = -1;
};

}  // namespace platform
