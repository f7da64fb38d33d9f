// Paths by the kernel's own resolution of names, which are bytes.
#include "platform/path.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "platform/posix/descriptor.h"

namespace platform {

namespace {

std::error_code LastError() {
    return {errno, std::generic_category()};
}

struct Free {
    void operator()(char* text) const { std::free(text); }
};

struct CloseListing {
    void operator()(DIR* listing) const { closedir(listing); }
};

EntryKind KindOf(mode_t mode) {
    return S_ISREG(mode) ? EntryKind::File : S_ISDIR(mode) ? EntryKind::Folder : EntryKind::Other;
}

}  // namespace

std::error_code ResolvePath(const std::filesystem::path& path, LastLink lastLink,
                            std::filesystem::path& resolved) {
    const bool isParentOnly = lastLink == LastLink::Keep && path.has_filename() && path.filename() != "." &&
                              path.filename() != "..";
    const std::filesystem::path parent = path.has_parent_path() ? path.parent_path() : ".";
    const std::unique_ptr<char, Free> real(realpath(isParentOnly ? parent.c_str() : path.c_str(), nullptr));
    if (real == nullptr) return LastError();
    resolved = real.get();
    if (isParentOnly) resolved /= path.filename();
    struct stat status {};
    return lstat(resolved.c_str(), &status) == 0 ? std::error_code() : LastError();
}

std::error_code ListPath(const std::filesystem::path& folder, std::vector<PathEntry>& entries) {
    const std::unique_ptr<DIR, CloseListing> listing(opendir(folder.c_str()));
    if (listing == nullptr) return LastError();
    for (;;) {
        errno = 0;
        const dirent* const entry = readdir(listing.get());
        if (entry == nullptr) return errno == 0 ? std::error_code() : LastError();
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        struct stat status {};
        if (fstatat(dirfd(listing.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0) {
            entries.push_back({name, KindOf(status.st_mode)});
        } else if (errno != ENOENT) {  // else it is gone meanwhile
            return LastError();
        }
    }
}

std::error_code ReadPath(const std::filesystem::path& file, std::uint64_t most, std::vector<BYTE>& bytes) {
    bytes.clear();
    // A device or a pipe could make its reader wait.
    const Descriptor source(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!source.IsOpen() || fstat(source.Get(), &status) != 0) return LastError();
    if (!S_ISREG(status.st_mode)) return std::make_error_code(std::errc::not_supported);
    if (static_cast<std::uint64_t>(status.st_size) > most)
        return std::make_error_code(std::errc::file_too_large);
    bytes.resize(static_cast<std::size_t>(status.st_size));
    const ssize_t count = ReadInto(source.Get(), bytes.data(), bytes.size());
    const std::error_code error = count < 0 ? LastError() : std::error_code();
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return error;
}

}  // namespace platform
