// PrinterStore: one connection to the database that keeps the printers' driver data off Windows.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/printerdata.h"
#include "platform/text.h"

struct sqlite3;
struct sqlite3_stmt;

namespace platform {

/// What the members of a store throw: the status that the seam reports.
struct PrinterStoreError {
    PrinterStatus status;
};

/// Where a value stands. Each part is well-formed UTF-16 and not empty.
struct PrinterValuePlace {
    const Text& printer;
    const Text& key;
    const Text& name;
};

/// A connection, used by one thread at a time and only in the process that made it.
///
/// Writes are transactions of their own outside of an update. Whatever fails throws PrinterStoreError.
class PrinterStore {
public:
    /// The file that the environment chooses.
    static std::filesystem::path FindFile();

    /// Opens the database, which is made with its folder when it does not exist. Where nothing can be written
    /// beside it, it is opened as it is, for reading only.
    explicit PrinterStore(const std::filesystem::path& file);
    PrinterStore(const PrinterStore&) = delete;
    PrinterStore& operator=(const PrinterStore&) = delete;
    ~PrinterStore();

    bool HasPrinter(const Text& printer);
    std::vector<Text> ListPrinters();
    std::vector<Text> ListValues(const Text& printer, const Text& key);
    /// @return false when the value is absent
    bool Read(const PrinterValuePlace& place, PrinterValue& value);
    std::optional<std::int64_t> ReadTime(const PrinterValuePlace& place);
    void Write(const PrinterValuePlace& place, const PrinterValue& value);
    /// @return false when the value was absent
    bool Delete(const PrinterValuePlace& place);

    /// Keeps every other connection from writing until the update ends.
    void BeginUpdate();
    void CommitUpdate();
    void AbandonUpdate() noexcept;
    bool IsInUpdate() const;

    /// Whether the file is read without locks, so that it is to be opened anew for what others write.
    bool IsSnapshot() const { return m_isSnapshot; }

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
    void OpenSnapshot();
    void Connect(const std::string& name, int flags);
    void Protect();
    void Prepare();
    bool IsEmpty();
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
    bool m_isSnapshot = false;
    std::unique_ptr<sqlite3, Close> m_connection;
    std::array<OwnedStatement, static_cast<std::size_t>(Sql::count)> m_statements;
};

}  // namespace platform
