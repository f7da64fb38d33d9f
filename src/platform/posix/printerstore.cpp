// PrinterStore: one connection to the database that keeps the printers' driver data off Windows.
#include "platform/posix/printerstore.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/posix/environment.h"
#include "platform/utf8.h"

namespace platform {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t layoutVersion = 1;
constexpr std::int64_t applicationId = 0x4E565044;  // "NVPD"

// The whole layout. A store is one of ours only when it holds exactly this, so that no view or trigger that
// somebody put in runs.
constexpr char tableSql[] =
    "CREATE TABLE printerdata ("
    "printer TEXT NOT NULL COLLATE NOCASE, "
    "key TEXT NOT NULL COLLATE NOCASE, "
    "value TEXT NOT NULL COLLATE NOCASE, "
    "type INTEGER NOT NULL, "
    "data BLOB NOT NULL, "
    "written INTEGER NOT NULL, "
    "PRIMARY KEY (printer, key, value)) STRICT";

constexpr char writeSql[] =
    "INSERT INTO printerdata (printer, key, value, type, data, written) VALUES (?1, ?2, ?3, ?4, ?5, ?6) "
    "ON CONFLICT DO UPDATE SET type = excluded.type, data = excluded.data, written = excluded.written";

// In the order of PrinterStore::Sql.
constexpr const char* statementTexts[] = {
    "SELECT 1 FROM printerdata WHERE printer = ?1 LIMIT 1",
    "SELECT printer FROM printerdata GROUP BY printer",
    "SELECT value FROM printerdata WHERE printer = ?1 AND key = ?2",
    "SELECT type, data FROM printerdata WHERE printer = ?1 AND key = ?2 AND value = ?3",
    "SELECT written FROM printerdata WHERE printer = ?1 AND key = ?2 AND value = ?3",
    writeSql,
    "DELETE FROM printerdata WHERE printer = ?1 AND key = ?2 AND value = ?3",
};

struct CodeOfResult {
    int result;
    DWORD code;
};

/// The platform-wide codes of SQLite's primary results.
constexpr CodeOfResult codes[] = {
    {SQLITE_PERM, 5},       {SQLITE_BUSY, 170},     {SQLITE_LOCKED, 170},   {SQLITE_NOMEM, 8},
    {SQLITE_READONLY, 19},  {SQLITE_IOERR, 1117},   {SQLITE_CORRUPT, 1392}, {SQLITE_FULL, 112},
    {SQLITE_CANTOPEN, 110}, {SQLITE_PROTOCOL, 170}, {SQLITE_SCHEMA, 13},    {SQLITE_TOOBIG, 13},
    {SQLITE_NOTADB, 1392},  {SQLITE_AUTH, 5},
};
constexpr int primaryResultMask = 0xFF;
constexpr DWORD codeOfOtherResults = 31;  // a device that does not work
constexpr DWORD pathNotFound = 3;
constexpr DWORD invalidData = 13;

DWORD CodeOf(int result) {
    for (const CodeOfResult& row : codes) {
        if (row.result == (result & primaryResultMask)) return row.code;
    }
    return codeOfOtherResults;
}

bool IsAnotherAtWork(DWORD code) {
    return code == CodeOf(SQLITE_BUSY);
}

/// An environment variable that names an absolute path, as the rules for such variables want it.
fs::path FolderOf(const char* variable) {
    const char* const value = TrustedVariable(variable);
    const fs::path folder = value != nullptr ? value : "";
    return folder.is_absolute() ? folder : fs::path();
}

/// Makes the folders above a file, readable for their owner alone. What fails shows on opening the file.
void MakeFolders(const fs::path& folder) {
    fs::path made;
    for (const fs::path& part : folder) {
        made /= part;
        std::error_code unreachable;
        if (::mkdir(made.c_str(), S_IRWXU) != 0 && !fs::is_directory(made, unreachable)) return;
    }
}

// While one thread makes the file, no other may have it open yet.
constinit std::mutex openingLock;

}  // namespace

void FailWithPrinterFile(const fs::path& file, DWORD code, const std::string& problem) {
    throw PrinterStoreError{{code, TextOfUtf8(file.string() + ": " + problem)}};
}

DWORD CodeOfErrno(int error) {
    switch (error) {
        case EACCES:
        case EPERM:
            return CodeOf(SQLITE_PERM);
        case EROFS:
            return CodeOf(SQLITE_READONLY);
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return CodeOf(SQLITE_FULL);
        default:
            return CodeOf(SQLITE_CANTOPEN);
    }
}

bool IsPrinterName(const Text& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == 0 || IsLowSurrogate(text[i])) return false;
        if (!IsHighSurrogate(text[i])) continue;
        if (++i == text.size() || !IsLowSurrogate(text[i])) return false;
    }
    return !text.empty();
}

Text FoldPrinterName(const Text& name) {
    Text folded = name;
    for (WChar& unit : folded) {
        if (unit >= 'A' && unit <= 'Z') unit = static_cast<WChar>(unit - 'A' + 'a');
    }
    return folded;
}

/// One use of a kept statement: bound, run, and made ready for the next use at the end.
class PrinterStore::Statement {
public:
    Statement(PrinterStore& store, Sql sql) : m_store(store), m_statement(store.Kept(sql)) {}
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement() {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }

    Statement& Bind(const Text& text) {
        const std::string bytes = Utf8Of(text);
        m_store.Require(sqlite3_bind_text64(m_statement, ++m_bound, bytes.data(), bytes.size(),
                                            SQLITE_TRANSIENT, SQLITE_UTF8));
        return *this;
    }
    Statement& Bind(const PrinterValuePlace& place) {
        return Bind(place.printer).Bind(place.key).Bind(place.name);
    }
    Statement& Bind(std::int64_t number) {
        m_store.Require(sqlite3_bind_int64(m_statement, ++m_bound, number));
        return *this;
    }
    /// The bytes must stay until the statement has run.
    Statement& Bind(const std::vector<BYTE>& bytes) {
        const void* const data = bytes.empty() ? static_cast<const void*>("") : bytes.data();
        m_store.Require(sqlite3_bind_blob64(m_statement, ++m_bound, data, bytes.size(), SQLITE_STATIC));
        return *this;
    }

    /// Runs to the next row.
    /// @return whether there is one
    bool Step() {
        const int result = sqlite3_step(m_statement);
        if (result != SQLITE_ROW && result != SQLITE_DONE) m_store.Fail(result);
        return result == SQLITE_ROW;
    }
    std::int64_t GetNumber(int column) { return sqlite3_column_int64(m_statement, column); }
    std::vector<BYTE> GetBytes(int column) {
        const auto* const data = static_cast<const BYTE*>(sqlite3_column_blob(m_statement, column));
        const int size = sqlite3_column_bytes(m_statement, column);
        return data != nullptr ? std::vector<BYTE>(data, data + size) : std::vector<BYTE>();
    }
    /// The names in the rows' first column. What no printer or value of ours can be called is left out.
    std::vector<Text> GetNames() {
        std::vector<Text> names;
        while (Step()) {
            const std::vector<BYTE> data = GetBytes(0);
            const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
            Text name = TextOfUtf8(bytes);
            if (IsPrinterName(name) && Utf8Of(name) == bytes) names.push_back(std::move(name));
        }
        return names;
    }

private:
    PrinterStore& m_store;
    sqlite3_stmt* m_statement;
    int m_bound = 0;
};

void PrinterStore::Close::operator()(sqlite3* connection) const {
    sqlite3_close(connection);
}

void PrinterStore::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

fs::path PrinterStore::FindFile() {
    const char* const chosen = TrustedVariable("NVUTIL_PRINTER_STORE");
    if (chosen != nullptr && *chosen != '\0') {
        std::error_code error;
        fs::path file = fs::absolute(chosen, error);
        if (error) FailWithPrinterFile(chosen, pathNotFound, error.message());
        return file;
    }
    fs::path folder = FolderOf("XDG_STATE_HOME");
    if (folder.empty() && !FolderOf("HOME").empty()) folder = FolderOf("HOME") / ".local" / "state";
    if (folder.empty()) {
        FailWithPrinterFile("printers.sqlite", pathNotFound,
                            "none of NVUTIL_PRINTER_STORE, XDG_STATE_HOME and HOME says where it is");
    }
    return folder / "nvutil" / "printers.sqlite";
}

// One that exists is not opened here: closing it would drop the locks of other connections in this process.
void PrinterStore::MakeFile(const fs::path& file) {
    MakeFolders(file.parent_path());
    const std::lock_guard lock(openingLock);
    const int made = ::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (made < 0 && errno != EEXIST)
        FailWithPrinterFile(file, CodeOfErrno(errno), std::generic_category().message(errno));
    if (made >= 0) ::close(made);
}

PrinterStore::PrinterStore(const fs::path& file) : m_file(file) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(printerPatience);
    for (;;) {
        try {
            Open();
            m_hasLayout = !IsEmpty();
            if (m_hasLayout) RequireOwnLayout();
            return;
        } catch (const PrinterStoreError& error) {
            // Others may be making the store, or recovering it, in ways that SQLite does not wait for.
            if (!IsAnotherAtWork(error.status.code) || Clock::now() >= end) throw;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
}

PrinterStore::~PrinterStore() = default;

void PrinterStore::Open() {
    const std::lock_guard lock(openingLock);
    sqlite3* connection = nullptr;
    // A file that the process may only read is opened for reading.
    const int result =
        sqlite3_open_v2(m_file.c_str(), &connection, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    m_statements = {};
    m_connection.reset(connection);
    Require(result);
    Protect();
}

/// Takes nothing in the file for granted.
void PrinterStore::Protect() {
    constexpr int roomBesideTheValue = 1 << 20;
    sqlite3* const connection = m_connection.get();
    sqlite3_extended_result_codes(connection, 1);
    sqlite3_limit(connection, SQLITE_LIMIT_LENGTH,
                  static_cast<int>(largestPrinterValue) + roomBesideTheValue);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    Require(sqlite3_busy_timeout(connection, static_cast<int>(printerPatience)));
    Execute("PRAGMA cell_size_check = ON");
}

/// Chooses how writes reach the disk: through a journal that is gone when they have, so that there is nothing
/// to do for readers.
void PrinterStore::ChooseJournal() {
    if (m_isJournalChosen) return;
    // A store that was given another journal keeps it for as long as somebody else uses it. That is safe too.
    const int result =
        sqlite3_exec(m_connection.get(), "PRAGMA journal_mode = DELETE", nullptr, nullptr, nullptr);
    if ((result & primaryResultMask) != SQLITE_BUSY) Require(result);
    Execute("PRAGMA synchronous = EXTRA");
    m_isJournalChosen = true;
}

bool PrinterStore::IsCurrent() {
    int hasMoved = 0;
    Require(sqlite3_file_control(m_connection.get(), "main", SQLITE_FCNTL_HAS_MOVED, &hasMoved));
    return hasMoved == 0;
}

bool PrinterStore::IsEmpty() {
    return ReadNumber("PRAGMA user_version") == 0 && ReadNumber("PRAGMA application_id") == 0 &&
           ReadNumber("SELECT count(*) FROM sqlite_schema") == 0;
}

void PrinterStore::InTransaction(const std::function<void()>& work) {
    Execute("BEGIN IMMEDIATE");
    try {
        work();
        Execute("COMMIT");
    } catch (...) {
        // Nothing is done where the failure has ended the transaction already.
        sqlite3_exec(m_connection.get(), "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

void PrinterStore::Create() {
    Execute(tableSql);
    Execute(("PRAGMA application_id = " + std::to_string(applicationId)).c_str());
    Execute(("PRAGMA user_version = " + std::to_string(layoutVersion)).c_str());
}

void PrinterStore::RequireOwnLayout() {
    if (ReadNumber("PRAGMA application_id") != applicationId)
        Fail(invalidData, NV_TEXT("is a database of another kind"));
    const std::int64_t version = ReadNumber("PRAGMA user_version");
    if (version > layoutVersion) {
        Fail(invalidData, NV_TEXT("has a newer schema than this version of the library knows: ") +
                              TextOfUtf8(std::to_string(version)));
    }
    const OwnedStatement encoding = Compile("PRAGMA encoding", false);
    const bool isUtf8 =
        sqlite3_step(encoding.get()) == SQLITE_ROW &&
        std::string_view(reinterpret_cast<const char*>(sqlite3_column_text(encoding.get(), 0))) == "UTF-8";
    OwnedStatement schema = Compile("SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL LIMIT 2", false);
    bool isOurs = isUtf8 && sqlite3_step(schema.get()) == SQLITE_ROW;
    isOurs =
        isOurs && sqlite3_column_bytes(schema.get(), 0) == static_cast<int>(sizeof tableSql - 1) &&
        std::string_view(reinterpret_cast<const char*>(sqlite3_column_text(schema.get(), 0))) == tableSql;
    if (!isOurs || version != layoutVersion || sqlite3_step(schema.get()) != SQLITE_DONE)
        Fail(invalidData, NV_TEXT("has a damaged schema"));
}

bool PrinterStore::HasPrinter(const Text& printer) {
    return m_hasLayout && Statement(*this, Sql::HasPrinter).Bind(printer).Step();
}

std::vector<Text> PrinterStore::ListPrinters() {
    if (!m_hasLayout) return {};
    return Statement(*this, Sql::ListPrinters).GetNames();
}

std::vector<Text> PrinterStore::ListValues(const Text& printer, const Text& key) {
    if (!m_hasLayout) return {};
    return Statement(*this, Sql::ListValues).Bind(printer).Bind(key).GetNames();
}

bool PrinterStore::Read(const PrinterValuePlace& place, PrinterValue& value) {
    if (!m_hasLayout) return false;
    Statement statement(*this, Sql::Read);
    if (!statement.Bind(place).Step()) return false;
    const std::int64_t type = statement.GetNumber(0);
    if (type != static_cast<DWORD>(type)) Fail(invalidData, NV_TEXT("holds a value of an unknown type"));
    value = {static_cast<DWORD>(type), statement.GetBytes(1)};
    if (value.data.size() > largestPrinterValue)
        Fail(invalidData, NV_TEXT("holds a value that is too large"));
    return true;
}

std::optional<std::int64_t> PrinterStore::ReadTime(const PrinterValuePlace& place) {
    if (!m_hasLayout) return std::nullopt;
    Statement statement(*this, Sql::ReadTime);
    if (!statement.Bind(place).Step()) return std::nullopt;
    return statement.GetNumber(0);
}

void PrinterStore::Apply(const Text& printer, const PrinterChanges& changes) {
    ChooseJournal();
    InTransaction([&] {
        if (IsEmpty()) Create();
        RequireOwnLayout();
        for (const auto& [folded, change] : changes) {
            const PrinterValuePlace place{printer, change.key, change.name};
            if (change.value) {
                Statement(*this, Sql::Write)
                    .Bind(place)
                    .Bind(std::int64_t{change.value->type})
                    .Bind(change.value->data)
                    .Bind(change.written)
                    .Step();
            } else {
                Statement(*this, Sql::Delete).Bind(place).Step();
            }
        }
    });
    m_hasLayout = true;
}

void PrinterStore::Execute(const char* sql) {
    Require(sqlite3_exec(m_connection.get(), sql, nullptr, nullptr, nullptr));
}

std::int64_t PrinterStore::ReadNumber(const char* sql) {
    const OwnedStatement statement = Compile(sql, false);
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_ROW) Fail(result);
    return sqlite3_column_int64(statement.get(), 0);
}

PrinterStore::OwnedStatement PrinterStore::Compile(const char* sql, bool isKept) {
    sqlite3_stmt* statement = nullptr;
    Require(sqlite3_prepare_v3(m_connection.get(), sql, -1, isKept ? SQLITE_PREPARE_PERSISTENT : 0,
                               &statement, nullptr));
    return OwnedStatement(statement);
}

sqlite3_stmt* PrinterStore::Kept(Sql sql) {
    const auto index = static_cast<std::size_t>(sql);
    static_assert(std::size(statementTexts) == static_cast<std::size_t>(Sql::count));
    if (m_statements[index] == nullptr) m_statements[index] = Compile(statementTexts[index], true);
    return m_statements[index].get();
}

void PrinterStore::Require(int result) {
    if (result != SQLITE_OK) Fail(result);
}

void PrinterStore::Fail(int result) {
    sqlite3* const connection = m_connection.get();
    std::string problem = connection != nullptr ? sqlite3_errmsg(connection) : sqlite3_errstr(result);
    const int systemError = connection != nullptr ? sqlite3_system_errno(connection) : 0;
    const int primary = result & primaryResultMask;
    if (systemError != 0 && (primary == SQLITE_CANTOPEN || primary == SQLITE_IOERR))
        problem += ", " + std::generic_category().message(systemError);
    FailWithPrinterFile(m_file, CodeOf(result), problem);
}

void PrinterStore::Fail(DWORD code, const Text& problem) {
    FailWithPrinterFile(m_file, code, Utf8Of(problem));
}

}  // namespace platform
