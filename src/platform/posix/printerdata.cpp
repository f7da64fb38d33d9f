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
#include "platform/posix/printerlock.h"
#include "platform/posix/printerstore.h"

namespace platform {

namespace {

namespace fs = std::filesystem;

/// An update that was begun: what it has changed so far is kept here, and written as a whole at its end.
struct PendingUpdate {
    PendingUpdate(const fs::path& file, const Text& printer) : lock(file, printer) {}

    PrinterLock lock;
    PrinterChanges changes;
};

PrinterChanges::key_type Fold(const Text& key, const Text& name) {
    return {FoldPrinterName(key), FoldPrinterName(name)};
}

/// What a handle stands for: a printer's name, and a connection that is made when it is first needed.
struct OpenPrinter {
    Text name;
    fs::path file;
    std::timed_mutex lock;  ///< Held by every operation while it lasts.
    std::unique_ptr<PrinterStore> store;
    std::unique_ptr<PendingUpdate> update;
    bool isClosed = false;
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
    // A printer is known here for as long as it has a connection, which a fork must find.
    void Remove(HANDLE handle) {
        const std::shared_ptr<OpenPrinter> printer = TryFind(handle);
        if (printer == nullptr) return;
        {
            const std::lock_guard lock(printer->lock);
            printer->isClosed = true;
            printer->store.reset();
            printer->update.reset();
        }
        const std::lock_guard lock(m_lock);
        m_printers.erase(handle);
    }

private:
    OpenPrinters() {
        static constexpr ForkHandlers handlers{[] { Get().PrepareFork(); }, [] { Get().GoOnInParent(); },
                                               [] { Get().GoOnInChild(); }};
        TakePartInForks(ForkedPart::Printers, handlers);
    }

    /// Null too in a child that may not use printers.
    std::shared_ptr<OpenPrinter> TryFind(HANDLE handle) {
        const std::lock_guard lock(m_lock);
        const auto found = m_printers.find(handle);
        return found != m_printers.end() && !m_isCutOff ? found->second : nullptr;
    }

    void PrepareFork() {
        m_lock.lock();
        // Whoever waits for an update of the forking thread would be waited for in vain.
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
        for (const auto& [handle, printer] : m_printers) {
            const bool isIdle = printer->lock.try_lock_until(end);
            if (isIdle) m_locked.push_back(printer.get());
            if (isIdle) printer->store.reset();
            m_isForkedInUse = m_isForkedInUse || !isIdle || printer->update != nullptr;
        }
    }
    void GoOnInParent() {
        m_isForkedInUse = false;
        for (OpenPrinter* const printer : std::exchange(m_locked, {}))
            printer->lock.unlock();
        m_lock.unlock();
    }
    void GoOnInChild() {
        // The printers stay where they are: nothing of the parent's connections may be touched, not even to
        // close them.
        m_isCutOff = m_isCutOff || m_isForkedInUse;
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

[[maybe_unused]] const bool isMadeBeforeForks = MakeBeforeForks([] { OpenPrinters::Get(); });

/// An open printer that the current scope may use alone.
class PrinterInUse {
public:
    explicit PrinterInUse(HANDLE handle) : m_printer(OpenPrinters::Get().Find(handle)) {
        if (m_printer == nullptr) throw PrinterStoreError{{invalidPrinterHandle, {}}};
        m_lock = std::unique_lock(m_printer->lock);
        if (m_printer->isClosed) throw PrinterStoreError{{invalidPrinterHandle, {}}};
    }

    const Text& GetName() const { return m_printer->name; }
    /// The store to read from; null when there is none, since nothing is made for a reader.
    PrinterStore* FindStore() {
        DropStaleStore();
        if (m_printer->store != nullptr && !m_printer->store->HasLayout()) DropStore();
        std::error_code unreadable;  // such a file is there, and opening it tells why it is of no use
        const bool isThere = m_printer->store != nullptr ||
                             fs::status(m_printer->file, unreadable).type() != fs::file_type::not_found;
        return isThere ? &GetStore() : nullptr;
    }
    /// Gives the connection up after a failure; the next operation makes another one.
    void DropStore() { m_printer->store.reset(); }

    /// What the update has made of a value; null when there is no update, or it has not touched the value.
    const PrinterChange* FindChange(const Text& key, const Text& name) const {
        if (m_printer->update == nullptr) return nullptr;
        const auto found = m_printer->update->changes.find(Fold(key, name));
        return found != m_printer->update->changes.end() ? &found->second : nullptr;
    }
    /// When a value was written; nothing when there is none.
    std::optional<std::int64_t> FindTime(const Text& key, const Text& name) {
        if (const PrinterChange* change = FindChange(key, name))
            return change->value ? std::optional(change->written) : std::nullopt;
        PrinterStore* const store = FindStore();
        return store != nullptr ? store->ReadTime({GetName(), key, name}) : std::nullopt;
    }
    /// Makes of the stored names of a key's values those that the update leaves.
    void ChangeNames(const Text& key, std::vector<Text>& names) const {
        if (m_printer->update == nullptr) return;
        const PrinterChanges& changes = m_printer->update->changes;
        const Text foldedKey = FoldPrinterName(key);
        std::erase_if(names, [&](const Text& name) {
            return changes.contains({foldedKey, FoldPrinterName(name)});
        });
        for (auto at = changes.lower_bound({foldedKey, {}});
             at != changes.end() && at->first.first == foldedKey; ++at) {
            if (at->second.value) names.push_back(at->second.name);
        }
    }
    /// Makes a change, in the update when there is one.
    /// @return false when there was nothing to delete
    bool Change(PrinterChange change) {
        using std::chrono::system_clock;
        change.written = system_clock::to_time_t(system_clock::now());
        if (!IsNeeded(change)) return false;  // and nothing is made for it
        const PrinterChanges::key_type place = Fold(change.key, change.name);
        if (m_printer->update != nullptr) {
            m_printer->update->changes.insert_or_assign(place, std::move(change));
            return true;
        }
        PrinterStore::MakeFile(m_printer->file);
        const PrinterLock lock(m_printer->file, GetName());
        if (!IsNeeded(change)) return false;  // somebody else was faster
        GetStore().Apply(GetName(), {{place, std::move(change)}});
        return true;
    }

    void BeginUpdate() {
        if (m_printer->update != nullptr)
            throw PrinterStoreError{{printerBusy, NV_TEXT("is being updated by this handle")}};
        PrinterStore::MakeFile(m_printer->file);
        m_printer->update = std::make_unique<PendingUpdate>(m_printer->file, GetName());
    }
    void AbandonUpdate() { m_printer->update.reset(); }
    void CommitUpdate() {
        const std::unique_ptr<PendingUpdate> ending = std::move(m_printer->update);
        if (ending == nullptr) throw PrinterStoreError{{invalidPrinterHandle, {}}};
        if (!ending->changes.empty()) GetStore().Apply(GetName(), ending->changes);
    }

private:
    bool IsNeeded(const PrinterChange& change) {
        return change.value || FindTime(change.key, change.name).has_value();
    }
    void DropStaleStore() {
        if (m_printer->store != nullptr && !m_printer->store->IsCurrent()) DropStore();
    }
    PrinterStore& GetStore() {
        DropStaleStore();
        if (m_printer->store == nullptr) m_printer->store = std::make_unique<PrinterStore>(m_printer->file);
        return *m_printer->store;
    }

    std::shared_ptr<OpenPrinter> m_printer;
    std::unique_lock<std::timed_mutex> m_lock;
};

/// Runs an operation on an open printer; what it throws becomes the status.
template <class Operation>
Status WithPrinter(HANDLE handle, Operation operation) {
    try {
        PrinterInUse printer(handle);
        try {
            return operation(printer);
        } catch (const PrinterStoreError&) {
            printer.DropStore();
            throw;
        }
    } catch (const PrinterStoreError& error) {
        return error.status;
    }
}

void RequireNames(const Text& key, const Text& name) {
    if (!IsPrinterName(key) || !IsPrinterName(name)) throw PrinterStoreError{{invalidPrinterParameter, {}}};
}

constexpr Status absent() {
    return {printerValueAbsent, {}};
}

}  // namespace

struct PrinterUpdate {
    HANDLE handle;
};

Status OpenPrinterByName(const Text& name, bool mayBeNew, HANDLE& handle) {
    if (!IsPrinterName(name)) return {unknownPrinter, {}};
    try {
        handle = OpenPrinters::Get().Add(name);
    } catch (const PrinterStoreError& error) {
        return error.status;
    }
    if (mayBeNew) return {};
    Status status = WithPrinter(handle, [&](PrinterInUse& printer) -> Status {
        PrinterStore* const store = printer.FindStore();
        if (store != nullptr && store->HasPrinter(name)) return {};
        return {unknownPrinter, {}};
    });
    if (!status.IsSuccess()) ClosePrinterHandle(std::exchange(handle, nullptr));
    return status;
}

void ClosePrinterHandle(HANDLE handle) {
    OpenPrinters::Get().Remove(handle);
}

Status GetPrinterName(HANDLE handle, Text& name) {
    return WithPrinter(handle, [&](PrinterInUse& printer) {
        name = printer.GetName();
        return Status{};
    });
}

Status ReadPrinterValue(HANDLE handle, const Text& key, const Text& name, PrinterValue& value) {
    return WithPrinter(handle, [&](PrinterInUse& printer) -> Status {
        RequireNames(key, name);
        if (const PrinterChange* change = printer.FindChange(key, name)) {
            if (!change->value) return absent();
            value = *change->value;
            return {};
        }
        PrinterStore* const store = printer.FindStore();
        const bool isThere = store != nullptr && store->Read({printer.GetName(), key, name}, value);
        return isThere ? Status{} : absent();
    });
}

Status WritePrinterValue(HANDLE handle, const Text& key, const Text& name, const PrinterValue& value) {
    return WithPrinter(handle, [&](PrinterInUse& printer) {
        RequireNames(key, name);
        printer.Change({key, name, value});
        return Status{};
    });
}

Status DeletePrinterValue(HANDLE handle, const Text& key, const Text& name) {
    return WithPrinter(handle, [&](PrinterInUse& printer) {
        RequireNames(key, name);
        return printer.Change({key, name, std::nullopt}) ? Status{} : absent();
    });
}

Status ListPrinterValues(HANDLE handle, const Text& key, std::vector<Text>& names) {
    return WithPrinter(handle, [&](PrinterInUse& printer) {
        RequireNames(key, key);
        PrinterStore* const store = printer.FindStore();
        if (store != nullptr) names = store->ListValues(printer.GetName(), key);
        printer.ChangeNames(key, names);
        return Status{};
    });
}

Status ReadPrinterValueTime(HANDLE handle, const Text& key, const Text& name,
                            std::optional<std::int64_t>& seconds) {
    return WithPrinter(handle, [&](PrinterInUse& printer) {
        RequireNames(key, name);
        seconds = printer.FindTime(key, name);
        return seconds ? Status{} : absent();
    });
}

Status ListPrinters(std::vector<Text>& names) {
    HANDLE handle = nullptr;  // of no printer, but with a connection like any other
    Status status = OpenPrinterByName(NV_TEXT("*"), true, handle);
    if (!status.IsSuccess()) return status;
    status = WithPrinter(handle, [&](PrinterInUse& printer) {
        if (PrinterStore* const store = printer.FindStore()) names = store->ListPrinters();
        return Status{};
    });
    ClosePrinterHandle(handle);
    return status;
}

Status BeginPrinterUpdate(HANDLE handle, PrinterUpdate*& update) {
    auto begun = std::make_unique<PrinterUpdate>(PrinterUpdate{handle});
    Status status = WithPrinter(handle, [](PrinterInUse& printer) {
        printer.BeginUpdate();
        return Status{};
    });
    if (status.IsSuccess()) update = begun.release();
    return status;
}

Status CommitPrinterUpdate(PrinterUpdate* update) {
    const std::unique_ptr<PrinterUpdate> ending(update);
    return WithPrinter(ending->handle, [](PrinterInUse& printer) {
        printer.CommitUpdate();
        return Status{};
    });
}

void AbandonPrinterUpdate(PrinterUpdate* update) {
    const std::unique_ptr<PrinterUpdate> ending(update);
    static_cast<void>(WithPrinter(ending->handle, [](PrinterInUse& printer) {
        printer.AbandonUpdate();
        return Status{};
    }));
}

}  // namespace platform
