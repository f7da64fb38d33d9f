// Profile (INI) files on disk: read whole, and replaced in one step under a lock.
#include "platform/posix/profilefile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <random>
#include <system_error>
#include <thread>

#include "platform/posix/descriptor.h"

namespace platform {

namespace {

constexpr std::int64_t largestFile = 0x7FFFFFFF;

// A device or a pipe could make its reader wait.
int OpenForReading(int folder, const char* name) {
    return openat(folder, name, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

/// Reads a file whose size may change meanwhile.
std::optional<FileContent> ReadAll(int file) {
    struct stat status {};
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > largestFile)
        return std::nullopt;
    FileContent content;
    std::size_t room = static_cast<std::size_t>(status.st_size) + 1;  // so that the end is seen at once
    for (;; room *= 2) {
        std::unique_ptr<char[]> bytes(new char[room]);  // not cleared, since all that counts is read
        std::copy_n(content.bytes.get(), content.size, bytes.get());
        const ssize_t count = ReadInto(file, bytes.get() + content.size, room - content.size);
        if (count < 0) return std::nullopt;
        content.bytes = std::move(bytes);
        content.size += static_cast<std::size_t>(count);
        if (content.size < room) return content;
        if (content.size > std::size_t{largestFile}) return std::nullopt;
    }
}

/// The file that symbolic links lead to, whether it exists or not.
std::filesystem::path Target(std::filesystem::path path) {
    constexpr int mostLinks = 40;
    std::error_code error;
    for (int links = 0; links < mostLinks; ++links) {
        const std::filesystem::path next = std::filesystem::read_symlink(path, error);
        if (error) break;
        path = path.parent_path() / next;
    }
    return path;
}

bool LockFolder(int folder) {
    using namespace std::chrono_literals;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (flock(folder, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

/// Reads what a change begins with; nothing when the file must not be replaced.
/// @param status  receives the file's, with no mode when it is missing
std::optional<std::string> ReadForChange(int folder, const char* name, struct stat& status) {
    const Descriptor file(OpenForReading(folder, name));
    if (!file.IsOpen()) return errno == ENOENT ? std::optional<std::string>(std::in_place) : std::nullopt;
    if (fstat(file.Get(), &status) != 0 || faccessat(folder, name, W_OK, AT_EACCESS) != 0)
        return std::nullopt;
    const std::optional<FileContent> content = ReadAll(file.Get());
    if (!content) return std::nullopt;
    return std::string(content->GetView());
}

/// Gives a new file what its predecessor had. Only its owner can be out of reach.
bool TakeOver(int file, const struct stat& predecessor) {
    const bool isOwned = fchown(file, predecessor.st_uid, predecessor.st_gid) == 0;
    const mode_t notForOthers = isOwned ? 07777 : 0777;
    return fchmod(file, predecessor.st_mode & notForOthers) == 0;
}

/// A name that nobody can take first, in a folder where others may write too.
std::string TemporaryName() {
    std::random_device random;
    return ".nvutil-profile." + std::to_string(random()) + std::to_string(random()) + ".tmp";
}

bool Replace(int folder, const char* name, std::string_view text, const struct stat& status) {
    const bool isNew = status.st_mode == 0;
    const std::string temporary = TemporaryName();
    const char* const temporaryName = temporary.c_str();
    const Descriptor file(openat(folder, temporaryName, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                                 isNew ? 0666 : 0600));
    if (!file.IsOpen()) return false;
    const bool isDone = (isNew || TakeOver(file.Get(), status)) &&
                        WriteAll(file.Get(), text.data(), text.size()) && fsync(file.Get()) == 0 &&
                        renameat(folder, temporaryName, folder, name) == 0;
    if (!isDone) {
        unlinkat(folder, temporaryName, 0);
        return false;
    }
    fsync(folder);  // some file systems cannot, and the file is in its place
    return true;
}

}  // namespace

std::optional<FileContent> ReadProfileFile(const std::string& path) {
    const Descriptor file(OpenForReading(AT_FDCWD, path.c_str()));
    if (!file.IsOpen()) return std::nullopt;
    return ReadAll(file.Get());
}

bool ChangeProfileFile(const std::string& path, const std::function<bool(std::string& text)>& change) {
    const std::filesystem::path target = Target(path);
    const std::string name = target.filename();
    const std::string folderName = target.has_parent_path() ? target.parent_path().string() : ".";
    if (name.empty()) return false;
    const Descriptor folder(open(folderName.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.IsOpen() || !LockFolder(folder.Get())) return false;
    struct stat status {};
    const std::optional<std::string> before = ReadForChange(folder.Get(), name.c_str(), status);
    if (!before) return false;
    std::string text = *before;
    if (!change(text)) return false;
    return text == *before || Replace(folder.Get(), name.c_str(), text, status);
}

}  // namespace platform
