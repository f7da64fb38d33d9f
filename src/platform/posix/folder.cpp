// Folders by file descriptor: every name is resolved by the kernel in the folder that is open.
#include "platform/folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/posix/descriptor.h"
#include "platform/utf8.h"

namespace platform {

namespace {

using TextView = std::basic_string_view<WChar>;

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr mode_t folderMode = 0777;
constexpr mode_t fileMode = 0666;

// Files are named in UTF-8 here, whatever the ANSI code page. A byte that is not, 0x80 to 0xFF, is listed as
// a low surrogate that stands alone, U+DC80 to U+DCFF, so that every entry can be opened and removed.
constexpr WChar escape = 0xDC00;

std::string NativeName(const Text& text) {
    const TextView units = text;
    std::string name;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const bool isLone = i == 0 || !IsHighSurrogate(units[i - 1]);
        if (!isLone || units[i] < escape + 0x80 || units[i] > escape + 0xFF) continue;
        name += Utf8Of(units.substr(begin, i - begin)) + static_cast<char>(units[i] - escape);
        begin = i + 1;
    }
    return name + Utf8Of(units.substr(begin));
}

Text TextOf(std::string_view name) {
    Text text = TextOfUtf8(name);
    if (Utf8Of(text) == name) return text;
    text.clear();
    while (!name.empty()) {
        const auto lead = static_cast<BYTE>(name[0]);
        const std::string_view part = name.substr(0, lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4);
        const Text units = TextOfUtf8(part);
        const bool isText = Utf8Of(units) == part;
        text += isText ? units : Text(1, static_cast<WChar>(escape + lead));
        name.remove_prefix(isText ? part.size() : 1);
    }
    return text;
}

std::error_code LastError() {
    return {errno, std::system_category()};
}

std::error_code ErrorUnless(bool succeeded) {
    return succeeded ? std::error_code() : LastError();
}

int DescriptorOf(std::intptr_t handle) {
    return static_cast<int>(handle);
}

EntryKind KindOf(mode_t mode) {
    return S_ISREG(mode) ? EntryKind::File : S_ISDIR(mode) ? EntryKind::Folder : EntryKind::Other;
}

struct CloseListing {
    void operator()(DIR* listing) const { closedir(listing); }
};

}  // namespace

std::error_code OutputFile::Write(std::span<const BYTE> bytes) {
    return ErrorUnless(WriteAll(DescriptorOf(m_handle), bytes.data(), bytes.size()));
}

std::error_code OutputFile::Close() {
    if (m_handle == none) return {};
    const int descriptor = DescriptorOf(std::exchange(m_handle, none));
    const std::error_code error = ErrorUnless(fsync(descriptor) == 0);
    const std::error_code closeError = ErrorUnless(close(descriptor) == 0);
    return error ? error : closeError;
}

Folder::~Folder() {
    if (m_handle != none) close(DescriptorOf(m_handle));
}

std::error_code Folder::Open(const Text& path) {
    Folder opened;
    opened.m_handle = open(NativeName(path).c_str(), folderFlags);
    *this = std::move(opened);
    return ErrorUnless(m_handle != none);
}

std::error_code Folder::OpenIn(const Folder& parent, const Text& name) {
    Folder opened;
    opened.m_handle =
        openat(DescriptorOf(parent.m_handle), NativeName(name).c_str(), folderFlags | O_NOFOLLOW);
    *this = std::move(opened);
    return ErrorUnless(m_handle != none);
}

std::error_code Folder::CreateSubfolder(const Text& name) const {
    return ErrorUnless(mkdirat(DescriptorOf(m_handle), NativeName(name).c_str(), folderMode) == 0);
}

std::error_code Folder::CreateOutput(const Text& name, OutputFile& file) const {
    file.Close();
    file.m_handle = openat(DescriptorOf(m_handle), NativeName(name).c_str(),
                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, fileMode);
    return ErrorUnless(file.m_handle != OutputFile::none);
}

std::error_code Folder::Rename(const Text& name, const Folder& target, const Text& newName) const {
    return ErrorUnless(renameat(DescriptorOf(m_handle), NativeName(name).c_str(),
                                DescriptorOf(target.m_handle), NativeName(newName).c_str()) == 0);
}

std::error_code Folder::RemoveEntry(const Text& name) const {
    return ErrorUnless(unlinkat(DescriptorOf(m_handle), NativeName(name).c_str(), 0) == 0);
}

std::error_code Folder::RemoveEmptySubfolder(const Text& name) const {
    return ErrorUnless(unlinkat(DescriptorOf(m_handle), NativeName(name).c_str(), AT_REMOVEDIR) == 0);
}

std::error_code Folder::Describe(const Text& name, EntryKind& kind, std::uint64_t& size) const {
    struct stat status {};
    kind = EntryKind::None;
    size = 0;
    if (fstatat(DescriptorOf(m_handle), NativeName(name).c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? std::error_code() : LastError();
    kind = KindOf(status.st_mode);
    if (kind == EntryKind::File) size = static_cast<std::uint64_t>(status.st_size);
    return {};
}

std::error_code Folder::List(std::vector<FolderEntry>& entries) const {
    // A descriptor of its own, whose position nobody else moves.
    const int descriptor = openat(DescriptorOf(m_handle), ".", folderFlags);
    if (descriptor < 0) return LastError();
    const std::unique_ptr<DIR, CloseListing> listing(fdopendir(descriptor));
    if (listing == nullptr) {
        const std::error_code error = LastError();
        close(descriptor);
        return error;
    }
    for (;;) {
        errno = 0;
        const dirent* const entry = readdir(listing.get());
        if (entry == nullptr) return ErrorUnless(errno == 0);
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        struct stat status {};
        if (fstatat(descriptor, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
            continue;  // gone meanwhile
        entries.push_back({TextOf(name), KindOf(status.st_mode)});
    }
}

}  // namespace platform
