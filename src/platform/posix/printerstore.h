// PrinterStore: one connection to the database that keeps the printers' driver data off Windows.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/printerdata.h"
#include "platform/text.h"

struct sqlite3;
struct sqlite3_stmt;

namespace platform {

/// What the members of a store throw: the status that the seam reports.
struct PrinterStoreError {
    Status status;
};

/// Throws a failure whose detail names the file.
[[noreturn]] void FailWithPrinterFile(const std::filesystem::path& file, DWORD code,
                                      const std::string& problem);
/// The platform-wide code of a system error.
DWORD CodeOfErrno(int error);
/// The code of what others keep busy.
inline constexpr DWORD printerBusy = 170;

/// Whether a text can be kept as UTF-8 and found again: well-formed, not empty and without a zero.
bool IsPrinterName(const Text& text);

/// The same text for all names that the store takes for one.
Text FoldPrinterName(const Text& name);

/// Where a value stands. Each part is a name as IsPrinterName wants it.
struct PrinterValuePlace {
    const Text& printer;
    const Text& key;
    const Text& name;
};

/// What an update has changed: a value, or nothing where one was deleted.
struct PrinterChange {
    Text key;
    Text name;
    std::optional<PrinterValue> value;
    std::int64_t written = 0;  ///< In seconds since 1970.
};

/// The changes of one printer, by the folded key and name.
using PrinterChanges = std::map<std::pair<Text, Text>, PrinterChange>;

/// A connection, used by one thread at a time and only in the process that made it.
///
/// Reading writes nothing, neither to the file nor beside it, unless a writer died and left the file as it
/// must not stay. Each call that changes something is one transaction, on the disk when it returns. Whatever
/// fails throws PrinterStoreError.
class PrinterStore {
public:
    /// The file that the environment chooses.
    static std::filesystem::path FindFile();

    /// Makes an empty file, with its folders, when there is none.
    static void MakeFile(const std::filesystem::path& file);

    /// Opens a file that is there. One that nothing was written to yet holds no printers.
    explicit PrinterStore(const std::filesystem::path& file);
    PrinterStore(const PrinterStore&) = delete;
    PrinterStore& operator=(const PrinterStore&) = delete;
    ~PrinterStore();

    /// Whether something had been written when the file was opened, or has been through this connection.
    bool HasLayout() const { return m_hasLayout; }
    /// Whether the file is still the one that was opened: it may have been deleted or replaced.
    bool IsCurrent();
    bool HasPrinter(const Text& printer);
    std::vector<Text> ListPrinters();
    std::vector<Text> ListValues(const Text& printer, const Text& key);
    /// @return false when the value is absent
    bool Read(const PrinterValuePlace& place, PrinterValue& value);
    std::optional<std::int64_t> ReadTime(const PrinterValuePlace& place);
    /// Makes all the changes of a printer, or none.
    void Apply(const Text& printer, const PrinterChanges& changes);

private:
    enum class Sql : std::size_t {
        HasPrinter,
        ListPrinters,
        ListValues,
        Read,
        ReadTime,
        Write,
        Delete,
        count,
    };
    class Statement;
    struct Close {
        void operator()(sqlite3* connection) const;
    };
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };
    using OwnedStatement = std::unique_ptr<sqlite3_stmt, Finalize>;

    void Open();
    void Protect();
    void ChooseJournal();
    bool IsEmpty();
    void InTransaction(const std::function<void()>& work);
    void Create();
    void RequireOwnLayout();
    void Execute(const char* sql);
    std::int64_t ReadNumber(const char* sql);
    OwnedStatement Compile(const char* sql, bool isKept);
    sqlite3_stmt* Kept(Sql sql);
    void Require(int result);
    [[noreturn]] void Fail(int result);
    [[noreturn]] void Fail(DWORD code, const Text& problem);

    std::filesystem::path m_file;
    bool m_hasLayout = false;        ///< Whether something was written to it at least once.
    bool m_isJournalChosen = false;  ///< Whether ChooseJournal has been called.
    std::unique_ptr<sqlite3, Close> m_connection;
    std::array<OwnedStatement, static_cast<std::size_t>(Sql::count)> m_statements;
};

}  // namespace platform
