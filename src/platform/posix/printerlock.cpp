// PrinterLock: keeps others from changing one printer, in all processes of the machine.
#include "platform/posix/printerlock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <system_error>
#include <thread>

#include "platform/posix/printerstore.h"

namespace platform {

namespace {

WChar FoldCase(WChar unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<WChar>(unit - 'A' + 'a') : unit;
}

/// The byte of a printer. Two printers of one byte would merely wait for each other.
off_t ByteOf(const Text& printer) {
    std::uint64_t hash = 14695981039346656037U;  // FNV-1a
    for (const WChar unit : printer)
        hash = (hash ^ FoldCase(unit)) * 1099511628211U;
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

}  // namespace

PrinterLock::PrinterLock(const std::filesystem::path& store, const Text& printer) : m_byte(ByteOf(printer)) {
    constexpr std::chrono::milliseconds pause{2};
    std::error_code unresolved;  // by whatever name the store is reached, it has one lock file
    const std::filesystem::path resolved = std::filesystem::canonical(store, unresolved);
    const std::filesystem::path file = (unresolved ? store : resolved).native() + "-lock";
    m_descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (m_descriptor < 0)
        FailWithPrinterFile(file, CodeOfErrno(errno), std::generic_category().message(errno));
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(printerPatience);
    while (!SetLock(m_descriptor, F_WRLCK, m_byte)) {
        const int error = errno;
        const bool isHeld = error == EAGAIN || error == EACCES;
        if (isHeld && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(pause);
            continue;
        }
        LeaveToParent();
        FailWithPrinterFile(file, isHeld ? printerBusy : CodeOfErrno(error),
                            isHeld ? "the printer is being updated" : std::generic_category().message(error));
    }
}

// Closing would not be enough where a child of fork has the file open too.
PrinterLock::~PrinterLock() {
    if (m_descriptor >= 0) SetLock(m_descriptor, F_UNLCK, m_byte);
    LeaveToParent();
}

void PrinterLock::LeaveToParent() noexcept {
    if (m_descriptor >= 0) close(m_descriptor);
    m_descriptor = -1;
}

}  // namespace platform
