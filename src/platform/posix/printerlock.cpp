// PrinterLock: keeps others from changing one printer, in all processes of the machine.
#include "platform/posix/printerlock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>

#include "platform/fork.h"
#include "platform/posix/printerstore.h"

namespace platform {

namespace {

/// The byte of a printer. Two printers of one byte would merely wait for each other.
off_t ByteOf(const Text& printer) {
    std::uint64_t hash = 14695981039346656037U;  // FNV-1a
    for (const WChar unit : FoldPrinterName(printer))
        hash = (hash ^ unit) * 1099511628211U;
    return static_cast<off_t>(hash >> 2);
}

/// Takes the lock (F_WRLCK) or gives it up (F_UNLCK). It belongs to the open file, so that threads exclude
/// each other too.
bool SetLock(int descriptor, short kind, off_t byte) {
    struct flock lock {};
    lock.l_type = kind;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0;
}

/// The locks that have their file open, and what guards that record.
struct OpenLocks {
    std::mutex lock;
    std::set<PrinterLock*> locks;

    static OpenLocks& Get() {
        static OpenLocks& open = *new OpenLocks;  // printers may be closed while the process ends
        return open;
    }
};

constexpr ForkHandlers handlers{[] { OpenLocks::Get().lock.lock(); }, [] { OpenLocks::Get().lock.unlock(); },
                                [] {
                                    PrinterLock::LeaveAllToParent();
                                    OpenLocks::Get().lock.unlock();
                                }};
[[maybe_unused]] const bool takesPartInForks = (TakePartInForks(ForkedPart::PrinterLocks, handlers), true);

/// Opens the lock's file; makes one for all who may write to the store.
int OpenFor(const std::filesystem::path& store, const std::filesystem::path& file) {
    constexpr int mode = O_RDWR | O_NOFOLLOW | O_CLOEXEC;
    const int found = open(file.c_str(), mode);
    if (found >= 0 || errno != ENOENT) return found;
    const int made = open(file.c_str(), mode | O_CREAT, S_IRUSR | S_IWUSR);
    struct stat status {};
    if (made >= 0 && stat(store.c_str(), &status) == 0) {
        // Whoever may not give it away keeps it, with the group if that is possible.
        const bool isGiven =
            fchown(made, status.st_uid, status.st_gid) == 0 || fchown(made, -1U, status.st_gid) == 0;
        fchmod(made, status.st_mode & (isGiven ? 0666 : 0606));
    }
    return made;
}

}  // namespace

PrinterLock::PrinterLock(const std::filesystem::path& store, const Text& printer) : m_byte(ByteOf(printer)) {
    constexpr std::chrono::milliseconds pause{2};
    std::error_code unresolved;  // by whatever name the store is reached, it has one lock file
    const std::filesystem::path resolved = std::filesystem::canonical(store, unresolved);
    const std::filesystem::path file = (unresolved ? store : resolved).native() + "-lock";
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(printerPatience);
    for (;;) {
        Open(store, file);
        const bool isLocked = SetLock(m_descriptor, F_WRLCK, m_byte);
        const int error = errno;
        if (isLocked && IsOfFile(file)) return;
        Close();
        if (isLocked) continue;  // somebody deleted the file, and the next to come would make another
        const bool isHeld = error == EAGAIN || error == EACCES;
        if (!isHeld || std::chrono::steady_clock::now() >= end) {
            FailWithPrinterFile(
                file, isHeld ? printerBusy : CodeOfErrno(error),
                isHeld ? "the printer is being updated" : std::generic_category().message(error));
        }
        std::this_thread::sleep_for(pause);
    }
}

PrinterLock::~PrinterLock() {
    Close();
}

void PrinterLock::Open(const std::filesystem::path& store, const std::filesystem::path& file) {
    OpenLocks& open = OpenLocks::Get();
    const std::lock_guard lock(open.lock);
    m_descriptor = OpenFor(store, file);
    if (m_descriptor < 0)
        FailWithPrinterFile(file, CodeOfErrno(errno), std::generic_category().message(errno));
    open.locks.insert(this);
}

// Nothing was opened in this process by a lock that its parent made.
void PrinterLock::Close() noexcept {
    OpenLocks& open = OpenLocks::Get();
    const std::lock_guard lock(open.lock);
    if (open.locks.erase(this) == 0) return;
    SetLock(m_descriptor, F_UNLCK, m_byte);  // closing is not enough where a child has the file open too
    close(m_descriptor);
}

bool PrinterLock::IsOfFile(const std::filesystem::path& file) const {
    struct stat own {};
    struct stat named {};
    return fstat(m_descriptor, &own) == 0 && lstat(file.c_str(), &named) == 0 && own.st_dev == named.st_dev &&
           own.st_ino == named.st_ino;
}

void PrinterLock::LeaveAllToParent() noexcept {
    std::set<PrinterLock*>& locks = OpenLocks::Get().locks;
    for (const PrinterLock* const lock : locks)
        close(lock->m_descriptor);
    locks.clear();
}

}  // namespace platform
