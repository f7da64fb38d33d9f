// Printers and their driver data, kept in a database of the user.
#include "platform/printerdata.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <system_error>
#include <utility>

#include "platform/fork.h"
#include "platform/posix/printerstore.h"

namespace platform {

namespace {

namespace fs = std::filesystem;

constexpr DWORD busy = 170;

/// What a handle stands for: a printer's name, and a connection that is made when it is first needed.
struct OpenPrinter {
    Text name;
    fs::path file;
    std::timed_mutex lock;  ///< Held by every operation while it lasts.
    std::unique_ptr<PrinterStore> store;
};

/// All open printers of the process. Handles are looked up here, so that a stale one is merely refused.
///
/// A connection must not cross a fork: the child would believe in locks that it does not have. So idle
/// connections are closed before a fork and opened again when they are needed. Where one is in use all the
/// same, the child, which would share SQLite's own record of locks with it, gets no printers at all.
class OpenPrinters {
public:
    static OpenPrinters& Get() {
        static OpenPrinters& printers = *new OpenPrinters;  // printers may be closed while the process ends
        return printers;
    }

    HANDLE Add(const Text& name) {
        auto printer = std::make_shared<OpenPrinter>();
        printer->name = name;
        printer->file = PrinterStore::FindFile();
        const std::lock_guard lock(m_lock);
        if (m_isCutOff) FailCutOff();
        // Counted, so that one that was closed never becomes another printer's.
        const auto handle = reinterpret_cast<HANDLE>(++m_lastHandle);
        m_printers.emplace(handle, std::move(printer));
        return handle;
    }
    std::shared_ptr<OpenPrinter> Find(HANDLE handle) {
        const std::lock_guard lock(m_lock);
        if (m_isCutOff) FailCutOff();
        const auto found = m_printers.find(handle);
        return found != m_printers.end() ? found->second : nullptr;
    }
    void Remove(HANDLE handle) {
        const std::lock_guard lock(m_lock);
        if (m_isCutOff) return;
        const auto found = m_printers.find(handle);
        if (found == m_printers.end()) return;
        const std::shared_ptr<OpenPrinter> printer = std::move(found->second);
        m_printers.erase(found);
        const std::lock_guard printerLock(printer->lock);
        printer->store.reset();
    }

private:
    OpenPrinters() {
        static constexpr ForkHandlers handlers{[] { Get().PrepareFork(); }, [] { Get().GoOnInParent(); },
                                               [] { Get().GoOnInChild(); }};
        TakePartInForks(ForkedPart::Printers, handlers);
    }

    void PrepareFork() {
        // Whoever waits for an update of the forking thread would be waited for in vain.
        constexpr std::chrono::milliseconds patience{500};
        m_lock.lock();
        for (const auto& [handle, printer] : m_printers) {
            const bool isIdle = printer->lock.try_lock_for(patience);
            if (isIdle) m_locked.push_back(printer.get());
            const bool isClosable = isIdle && (printer->store == nullptr || !printer->store->IsInUpdate());
            if (isClosable) printer->store.reset();
            m_isForkedInUse = m_isForkedInUse || !isClosable;
        }
    }
    void GoOnInParent() {
        m_isForkedInUse = false;
        for (OpenPrinter* const printer : std::exchange(m_locked, {}))
            printer->lock.unlock();
        m_lock.unlock();
    }
    void GoOnInChild() {
        m_isCutOff = m_isCutOff || m_isForkedInUse;
        // The printers stay where they are: nothing of the parent's connections may be touched, not even to
        // close them.
        GoOnInParent();
    }
    [[noreturn]] static void FailCutOff() {
        throw PrinterStoreError{
            {invalidPrinterHandle, NV_TEXT("the process was forked while a printer was in use")}};
    }

    std::vector<OpenPrinter*> m_locked;  ///< While the process forks.
    bool m_isForkedInUse = false;        ///< The same: whether a connection could not be closed.
    bool m_isCutOff = false;             ///< Whether this process is the child of such a fork.
    std::mutex m_lock;
    std::uintptr_t m_lastHandle = 0;
    std::map<HANDLE, std::shared_ptr<OpenPrinter>> m_printers;
};

/// An open printer that the current scope may use alone.
class PrinterInUse {
public:
    explicit PrinterInUse(HANDLE handle) : m_printer(OpenPrinters::Get().Find(handle)) {
        if (m_printer == nullptr) throw PrinterStoreError{{invalidPrinterHandle, {}}};
        m_lock = std::unique_lock(m_printer->lock);
    }

    const Text& GetName() const { return m_printer->name; }
    /// Whether there is a database to read from; nothing is made for a reader.
    bool HasStore() const {
        std::error_code unreadable;  // such a file is there, and opening it tells why it is of no use
        return m_printer->store != nullptr ||
               fs::status(m_printer->file, unreadable).type() != fs::file_type::not_found;
    }
    PrinterStore& GetStore() {
        if (m_printer->store == nullptr) m_printer->store = std::make_unique<PrinterStore>(m_printer->file);
        return *m_printer->store;
    }
    /// Sees to it that the next operation finds what others write meanwhile.
    void DropSnapshot() {
        if (m_printer->store != nullptr && m_printer->store->IsSnapshot()) DropStore();
    }
    /// Gives the connection up after a failure; the next operation makes another one.
    void DropStore() {
        if (m_printer->store != nullptr && !m_printer->store->IsInUpdate()) m_printer->store.reset();
    }

private:
    std::shared_ptr<OpenPrinter> m_printer;
    std::unique_lock<std::timed_mutex> m_lock;
};

/// Runs an operation on an open printer; what it throws becomes the status.
template <class Operation>
PrinterStatus WithPrinter(HANDLE handle, Operation operation) {
    try {
        PrinterInUse printer(handle);
        try {
            PrinterStatus status = operation(printer);
            printer.DropSnapshot();
            return status;
        } catch (const PrinterStoreError&) {
            printer.DropStore();
            throw;
        }
    } catch (const PrinterStoreError& error) {
        return error.status;
    }
}

bool IsHighSurrogate(WChar unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowSurrogate(WChar unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

/// Whether a text can be kept as UTF-8 and found again.
bool IsName(const Text& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == 0 || IsLowSurrogate(text[i])) return false;
        if (!IsHighSurrogate(text[i])) continue;
        if (++i == text.size() || !IsLowSurrogate(text[i])) return false;
    }
    return !text.empty();
}

void RequireNames(const Text& key, const Text& name) {
    if (!IsName(key) || !IsName(name)) throw PrinterStoreError{{invalidPrinterParameter, {}}};
}

constexpr PrinterStatus absent() {
    return {printerValueAbsent, {}};
}

}  // namespace

struct PrinterUpdate {
    HANDLE handle;
};

PrinterStatus OpenPrinterByName(const Text& name, bool mayBeNew, HANDLE& handle) {
    if (!IsName(name)) return {unknownPrinter, {}};
    try {
        handle = OpenPrinters::Get().Add(name);
    } catch (const PrinterStoreError& error) {
        return error.status;
    }
    if (mayBeNew) return {};
    PrinterStatus status = WithPrinter(handle, [&](PrinterInUse& printer) -> PrinterStatus {
        if (printer.HasStore() && printer.GetStore().HasPrinter(name)) return {};
        return {unknownPrinter, {}};
    });
    if (!status.IsSuccess()) ClosePrinterHandle(std::exchange(handle, nullptr));
    return status;
}

void ClosePrinterHandle(HANDLE handle) {
    OpenPrinters::Get().Remove(handle);
}

PrinterStatus GetPrinterName(HANDLE handle, Text& name) {
    return WithPrinter(handle, [&](PrinterInUse& printer) {
        name = printer.GetName();
        return PrinterStatus{};
    });
}

PrinterStatus ReadPrinterValue(HANDLE handle, const Text& key, const Text& name, PrinterValue& value) {
    return WithPrinter(handle, [&](PrinterInUse& printer) -> PrinterStatus {
        RequireNames(key, name);
        const bool isThere =
            printer.HasStore() && printer.GetStore().Read({printer.GetName(), key, name}, value);
        return isThere ? PrinterStatus{} : absent();
    });
}

PrinterStatus WritePrinterValue(HANDLE handle, const Text& key, const Text& name, const PrinterValue& value) {
    return WithPrinter(handle, [&](PrinterInUse& printer) {
        RequireNames(key, name);
        printer.GetStore().Write({printer.GetName(), key, name}, value);
        return PrinterStatus{};
    });
}

PrinterStatus DeletePrinterValue(HANDLE handle, const Text& key, const Text& name) {
    return WithPrinter(handle, [&](PrinterInUse& printer) {
        RequireNames(key, name);
        const bool wasThere = printer.HasStore() && printer.GetStore().Delete({printer.GetName(), key, name});
        return wasThere ? PrinterStatus{} : absent();
    });
}

PrinterStatus ListPrinterValues(HANDLE handle, const Text& key, std::vector<Text>& names) {
    return WithPrinter(handle, [&](PrinterInUse& printer) {
        RequireNames(key, key);
        if (printer.HasStore()) names = printer.GetStore().ListValues(printer.GetName(), key);
        return PrinterStatus{};
    });
}

PrinterStatus ReadPrinterValueTime(HANDLE handle, const Text& key, const Text& name,
                                   std::optional<std::int64_t>& seconds) {
    return WithPrinter(handle, [&](PrinterInUse& printer) {
        RequireNames(key, name);
        if (printer.HasStore()) seconds = printer.GetStore().ReadTime({printer.GetName(), key, name});
        return seconds ? PrinterStatus{} : absent();
    });
}

PrinterStatus ListPrinters(std::vector<Text>& names) {
    HANDLE handle = nullptr;  // of no printer, but with a connection like any other
    PrinterStatus status = OpenPrinterByName(NV_TEXT("*"), true, handle);
    if (!status.IsSuccess()) return status;
    status = WithPrinter(handle, [&](PrinterInUse& printer) {
        if (printer.HasStore()) names = printer.GetStore().ListPrinters();
        return PrinterStatus{};
    });
    ClosePrinterHandle(handle);
    return status;
}

PrinterStatus BeginPrinterUpdate(HANDLE handle, PrinterUpdate*& update) {
    auto begun = std::make_unique<PrinterUpdate>(PrinterUpdate{handle});
    PrinterStatus status = WithPrinter(handle, [&](PrinterInUse& printer) -> PrinterStatus {
        if (printer.GetStore().IsInUpdate()) return {busy, NV_TEXT("is being updated by this handle")};
        printer.GetStore().BeginUpdate();
        return {};
    });
    if (status.IsSuccess()) update = begun.release();
    return status;
}

PrinterStatus CommitPrinterUpdate(PrinterUpdate* update) {
    const std::unique_ptr<PrinterUpdate> ending(update);
    return WithPrinter(ending->handle, [&](PrinterInUse& printer) {
        try {
            printer.GetStore().CommitUpdate();
        } catch (const PrinterStoreError&) {
            printer.GetStore().AbandonUpdate();
            throw;
        }
        return PrinterStatus{};
    });
}

void AbandonPrinterUpdate(PrinterUpdate* update) {
    const std::unique_ptr<PrinterUpdate> ending(update);
    WithPrinter(ending->handle, [&](PrinterInUse& printer) {
        printer.GetStore().AbandonUpdate();
        return PrinterStatus{};
    });
}

}  // namespace platform
