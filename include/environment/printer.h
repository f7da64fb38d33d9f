// Printer: a printer and the values that drivers keep in its driver data.
#pragma once

#include <vector>

#include "platform/types.h"
#include "utilities/utilitiesdll/bytebuffer.h"
#include "utilities/utilitiesdll/cxstring.h"
#include "utilities/utilitiesdll/utctime.h"

namespace platform {
struct PrinterUpdate;
}

/// A printer, by its name or by a handle. Used by one thread at a time; several objects, in any number of
/// threads and processes, may serve one printer.
///
/// Values have a registry type, a name and a key that they stand under. Printers, keys and names are compared
/// without regard to case, off Windows to that of ASCII letters only. On Windows they are those of the
/// spooler. Elsewhere they are kept in a database: the file that NVUTIL_PRINTER_STORE names, else
/// nvutil/printers.sqlite below $XDG_STATE_HOME or ~/.local/state. Each write there is on the disk when it
/// returns, and complete or not there at all, whatever becomes of the process. A printer there exists as long
/// as it has a value.
///
/// Every member that meets a failure throws ExceptionPrinterFailure with the printer's name and the
/// platform's reason (off Windows with the name of the database), and ExceptionInvalidPrinterHandle when the
/// handle is not open, or no longer. A name with a zero in it is an ExceptionInvalidArgument. What is merely
/// absent is a result and not a failure.
class NVUTIL_API Printer {
public:
    /// What an unknown name means to the constructor.
    enum class Opening {
        Existing,  ///< A failure.
        MayBeNew,  ///< Off Windows a new printer, which comes into being with its first value. On Windows a
                   ///< failure too: the system's own tools install printers.
    };
    /// The key of the values that GetPrinterDataW reads: "PrinterDriverData".
    static const WChar* const driverDataKey;
    /// The largest value that is read or written, in bytes: 16 MiB.
    static const DWORD largestValue;

    // The registry's types.
    static constexpr DWORD typeString = 1;  ///< Text with its terminating zero.
    static constexpr DWORD typeBinary = 3;
    static constexpr DWORD typeDword = 4;  ///< A 32-bit number.

    /// Opens a printer by its name.
    explicit Printer(const CXString& name, Opening opening = Opening::Existing);
    /// Wraps an open handle, which stays the caller's to close and must stay open.
    /// @throws ExceptionInvalidPrinterHandle when it is null or not a printer's
    explicit Printer(HANDLE handle);
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;
    ~Printer();

    /// The handle, which is valid as long as the object lives.
    HANDLE GetHandle() const { return m_handle; }
    const CXString& GetName() const { return m_name; }

    /// Reads a value of the key "PrinterDriverData".
    /// @return false when it is absent; `type` and `data` are unchanged then
    bool GetPrinterDataW(const CXString& valueName, DWORD& type, ByteBuffer& data) const;
    /// Reads a value of any key; otherwise the same.
    bool GetPrinterDataExW(const CXString& key, const CXString& valueName, DWORD& type,
                           ByteBuffer& data) const;
    /// Adds or replaces a value.
    /// @throws ExceptionInvalidArgument when it is larger than `largestValue`
    void SetPrinterDataExW(const CXString& key, const CXString& valueName, DWORD type,
                           const ByteBuffer& data);
    /// Deletes a value.
    /// @return false when it was absent
    bool DeletePrinterDataExW(const CXString& key, const CXString& valueName);
    /// The names of a key's values, in no particular order; none for a key that does not exist.
    std::vector<CXString> EnumeratePrinterDataExW(const CXString& key) const;
    /// When a value was written.
    /// @return false when that is not known: always on Windows, whose spooler keeps no time
    bool GetPrinterDataTime(const CXString& key, const CXString& valueName, UtcTime& time) const;

    /// The names of all printers.
    static std::vector<CXString> EnumeratePrinters();

private:
    HANDLE m_handle;
    bool m_isOwned;
    CXString m_name;
};

/// Keeps everybody else from updating a printer as long as it lives, so that what is read from it can be
/// changed and written back without losing what others write meanwhile. It holds for those who ask for an
/// update too, in all processes of the machine; plain writes through other objects wait for it off Windows
/// only. Plain reads wait nowhere, but for the moment in which a change reaches the disk off Windows. Other
/// printers are not held up.
///
/// What is written through the printer's object meanwhile is seen through it at once. On Windows others see
/// it at once too; elsewhere it is kept in memory, and Commit writes all of it in one transaction.
///
/// One at a time in a thread, and not for long: others wait.
class NVUTIL_API PrinterDataUpdate {
public:
    /// Waits until nobody else updates the printer, which must outlive this object.
    /// @throws ExceptionPrinterFailure when that takes longer than 30 seconds
    explicit PrinterDataUpdate(Printer& printer);
    PrinterDataUpdate(const PrinterDataUpdate&) = delete;
    PrinterDataUpdate& operator=(const PrinterDataUpdate&) = delete;
    /// Ends the update. Without Commit, what was written is taken back off Windows; it stays on Windows.
    ~PrinterDataUpdate();

    /// Ends the update and keeps what was written.
    /// @throws ExceptionPrinterFailure when it cannot be kept; nothing of it is there then
    void Commit();

private:
    const Printer& m_printer;
    platform::PrinterUpdate* m_update;
};
