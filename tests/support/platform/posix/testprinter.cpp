// TestPrinter: a printer in a store of the test program's own.
#include "support/platform/testprinter.h"

#include <sqlite3.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "environment/printer.h"
#include "support/narrow.h"
#include "utilities/base/formattext.h"

namespace {

namespace fs = std::filesystem;

/// The folder of the store, from the first printer to the end of the program.
class StoreFolder {
public:
    StoreFolder() : m_path(fs::temp_directory_path() / ("nvutil_printers_" + std::to_string(getpid()))) {
        setenv("NVUTIL_PRINTER_STORE", (m_path / "printers.sqlite").c_str(), 1);
    }
    StoreFolder(const StoreFolder&) = delete;
    StoreFolder& operator=(const StoreFolder&) = delete;
    ~StoreFolder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }

private:
    fs::path m_path;
};

constexpr const WChar* markKey = NV_TEXT("Test");
constexpr const WChar* markValue = NV_TEXT("Mark");

CXString NewName() {
    static std::atomic<LONG> count = 0;
    return FormatText(NV_TEXT("Test printer %ld"), ++count);
}

}  // namespace

TestPrinter::TestPrinter() : m_name(NewName()) {
    static const StoreFolder folder;
    Printer(m_name, Printer::Opening::MayBeNew).SetPrinterDataExW(markKey, markValue, Printer::typeDword, {});
}

TestPrinter::~TestPrinter() {
    Printer printer(m_name);
    for (const WChar* const key : {markKey, Printer::driverDataKey}) {
        for (const CXString& value : printer.EnumeratePrinterDataExW(key))
            printer.DeletePrinterDataExW(key, value);
    }
}

ByteBuffer TestPrinter::ReadDirectly(const CXString& valueName) const {
    sqlite3* store = nullptr;
    sqlite3_stmt* row = nullptr;
    ByteBuffer bytes;
    sqlite3_open(getenv("NVUTIL_PRINTER_STORE"), &store);
    sqlite3_prepare_v2(
        store, "SELECT data FROM printerdata WHERE printer = ? AND key = 'PrinterDriverData' AND value = ?",
        -1, &row, nullptr);
    sqlite3_bind_text(row, 1, Narrow(m_name).c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(row, 2, Narrow(valueName).c_str(), -1, SQLITE_TRANSIENT);
    if (sqlite3_step(row) == SQLITE_ROW) {
        bytes.setWithLpbyte(static_cast<const BYTE*>(sqlite3_column_blob(row, 0)),
                            static_cast<DWORD>(sqlite3_column_bytes(row, 0)));
    }
    sqlite3_finalize(row);
    sqlite3_close(store);
    return bytes;
}
