// Paths in the literal form, in which the system sets no limit of 260 and cuts no dots.
#include "platform/path.h"

#include <windows.h>

#include <algorithm>

#include "platform/windows/literalpath.h"

namespace platform {

namespace {

/// The errors that callers tell apart, by their names; the others as the system numbers them.
std::error_code ErrorOf(DWORD code) {
    switch (code) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
            return std::make_error_code(std::errc::no_such_file_or_directory);
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
            return std::make_error_code(std::errc::permission_denied);
        case ERROR_DIRECTORY:
            return std::make_error_code(std::errc::not_a_directory);
        case ERROR_FILENAME_EXCED_RANGE:
            return std::make_error_code(std::errc::filename_too_long);
        default:
            return {static_cast<int>(code), std::system_category()};
    }
}

std::error_code LastError() {
    return ErrorOf(GetLastError());
}

class Handle {
public:
    explicit Handle(HANDLE handle) : m_handle(handle) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() {
        if (IsOpen()) CloseHandle(m_handle);
    }

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle;
};

HANDLE Open(const Text& path, DWORD access, DWORD flags) {
    return CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                       OPEN_EXISTING, flags, nullptr);
}

/// The path that the system knows an open file by, with a drive or, where it has none, the volume's name.
Text FinalPath(HANDLE handle) {
    for (const DWORD volume : {VOLUME_NAME_DOS, VOLUME_NAME_GUID}) {
        Text path(GetFinalPathNameByHandleW(handle, nullptr, 0, volume), L'\0');
        const DWORD length =
            GetFinalPathNameByHandleW(handle, path.data(), static_cast<DWORD>(path.size()), volume);
        if (length > 0 && length < path.size()) return path.substr(0, length);
    }
    return {};
}

EntryKind KindOf(DWORD attributes) {
    if ((attributes & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DEVICE)) != 0) return EntryKind::Other;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? EntryKind::Folder : EntryKind::File;
}

}  // namespace

std::error_code ResolvePath(const std::filesystem::path& path, LastLink lastLink,
                            std::filesystem::path& resolved) {
    const DWORD linkFlag = lastLink == LastLink::Keep ? FILE_FLAG_OPEN_REPARSE_POINT : 0;
    const Handle handle(
        Open(LiteralPath(path.native()), FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS | linkFlag));
    if (!handle.IsOpen()) return LastError();
    const Text found = FinalPath(handle.Get());
    if (found.empty()) return LastError();
    resolved = PlainPath(found);
    return {};
}

std::error_code ListPath(const std::filesystem::path& folder, std::vector<PathEntry>& entries) {
    Text pattern = LiteralPath(folder.native());
    if (pattern.empty()) return std::make_error_code(std::errc::no_such_file_or_directory);
    if (!pattern.ends_with(L'\\')) pattern += L'\\';
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW((pattern + L'*').c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return LastError();
    do {
        const Text name = found.cFileName;
        if (name != L"." && name != L"..") entries.push_back({name, KindOf(found.dwFileAttributes)});
    } while (FindNextFileW(search, &found) != 0);
    const DWORD code = GetLastError();
    FindClose(search);
    return code == ERROR_NO_MORE_FILES ? std::error_code() : ErrorOf(code);
}

std::error_code ReadPath(const std::filesystem::path& file, std::uint64_t most, std::vector<BYTE>& bytes) {
    bytes.clear();
    const Handle handle(Open(LiteralPath(file.native()), GENERIC_READ, FILE_ATTRIBUTE_NORMAL));
    if (!handle.IsOpen()) return LastError();
    if (GetFileType(handle.Get()) != FILE_TYPE_DISK) return std::make_error_code(std::errc::not_supported);
    LARGE_INTEGER size{};
    if (GetFileSizeEx(handle.Get(), &size) == 0) return LastError();
    if (static_cast<std::uint64_t>(size.QuadPart) > most)
        return std::make_error_code(std::errc::file_too_large);
    bytes.resize(static_cast<std::size_t>(size.QuadPart));
    std::size_t done = 0;
    while (done < bytes.size()) {
        constexpr std::size_t largestStep = 1U << 30;
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min(bytes.size() - done, largestStep));
        if (::ReadFile(handle.Get(), bytes.data() + done, wanted, &count, nullptr) == 0) return LastError();
        if (count == 0) break;
        done += count;
    }
    bytes.resize(done);
    return {};
}

}  // namespace platform
