// Folders by path: the open handle of a folder lets nobody rename or delete it, so its path stays its own.
#include "platform/folder.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "platform/windows/literalpath.h"

namespace platform {

namespace {

HANDLE HandleOf(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);  // NOLINT(performance-no-int-to-ptr)
}

std::intptr_t NumberOf(HANDLE handle) {
    return reinterpret_cast<std::intptr_t>(handle);
}

std::error_code LastError() {
    return {static_cast<int>(GetLastError()), std::system_category()};
}

std::error_code ErrorUnless(BOOL succeeded) {
    return succeeded != 0 ? std::error_code() : LastError();
}

Text PathIn(const Text& folder, const Text& name) {
    return folder.ends_with(L'\\') ? folder + name : folder + L'\\' + name;
}

EntryKind KindOf(DWORD attributes) {
    if ((attributes & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DEVICE)) != 0) return EntryKind::Other;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? EntryKind::Folder : EntryKind::File;
}

/// Opens a folder so that it stays where it is; INVALID_HANDLE_VALUE and the last error on failure.
HANDLE HoldFolder(const Text& path, DWORD linkFlag) {
    const HANDLE handle = CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES | FILE_LIST_DIRECTORY,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_BACKUP_SEMANTICS | linkFlag, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return handle;
    BY_HANDLE_FILE_INFORMATION status{};
    if (GetFileInformationByHandle(handle, &status) != 0 &&
        KindOf(status.dwFileAttributes) == EntryKind::Folder)
        return handle;
    CloseHandle(handle);
    SetLastError(ERROR_DIRECTORY);
    return INVALID_HANDLE_VALUE;
}

}  // namespace

std::error_code OutputFile::Write(std::span<const BYTE> bytes) {
    constexpr std::size_t largestStep = 1U << 30;
    while (!bytes.empty()) {
        DWORD count = 0;
        const auto wanted = static_cast<DWORD>(std::min(bytes.size(), largestStep));
        if (WriteFile(HandleOf(m_handle), bytes.data(), wanted, &count, nullptr) == 0) return LastError();
        bytes = bytes.subspan(count);
    }
    return {};
}

std::error_code OutputFile::Close() {
    if (m_handle == none) return {};
    const HANDLE handle = HandleOf(std::exchange(m_handle, none));
    const std::error_code error = ErrorUnless(FlushFileBuffers(handle));
    const std::error_code closeError = ErrorUnless(CloseHandle(handle));
    return error ? error : closeError;
}

Folder::~Folder() {
    if (m_handle != none) CloseHandle(HandleOf(m_handle));
}

std::error_code Folder::Open(const Text& path) {
    Folder opened;
    opened.m_path = LiteralPath(path);
    if (opened.m_path.empty()) return {ERROR_PATH_NOT_FOUND, std::system_category()};
    opened.m_handle = NumberOf(HoldFolder(opened.m_path, 0));
    *this = std::move(opened);
    return ErrorUnless(m_handle != none);
}

std::error_code Folder::OpenIn(const Folder& parent, const Text& name) {
    Folder opened;
    opened.m_path = PathIn(parent.m_path, name);
    opened.m_handle = NumberOf(HoldFolder(opened.m_path, FILE_FLAG_OPEN_REPARSE_POINT));
    *this = std::move(opened);
    return ErrorUnless(m_handle != none);
}

std::error_code Folder::CreateSubfolder(const Text& name) const {
    return ErrorUnless(CreateDirectoryW(PathIn(m_path, name).c_str(), nullptr));
}

std::error_code Folder::CreateOutput(const Text& name, OutputFile& file) const {
    file.Close();
    file.m_handle = NumberOf(CreateFileW(PathIn(m_path, name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    return ErrorUnless(file.m_handle != OutputFile::none);
}

std::error_code Folder::Rename(const Text& name, const Folder& target, const Text& newName) const {
    return ErrorUnless(MoveFileExW(PathIn(m_path, name).c_str(), PathIn(target.m_path, newName).c_str(),
                                   MOVEFILE_REPLACE_EXISTING));
}

std::error_code Folder::RemoveEntry(const Text& name) const {
    const Text path = PathIn(m_path, name);
    if (DeleteFileW(path.c_str()) != 0) return {};
    const std::error_code error = LastError();
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return error;
    // A link to a folder is removed as a folder, and a file that must not be written only once it may be.
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return ErrorUnless(RemoveDirectoryW(path.c_str()));
    if ((attributes & FILE_ATTRIBUTE_READONLY) == 0) return error;
    SetFileAttributesW(path.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    return ErrorUnless(DeleteFileW(path.c_str()));
}

std::error_code Folder::RemoveEmptySubfolder(const Text& name) const {
    return ErrorUnless(RemoveDirectoryW(PathIn(m_path, name).c_str()));
}

std::error_code Folder::Describe(const Text& name, EntryKind& kind, std::uint64_t& size) const {
    kind = EntryKind::None;
    size = 0;
    WIN32_FILE_ATTRIBUTE_DATA status{};
    if (GetFileAttributesExW(PathIn(m_path, name).c_str(), GetFileExInfoStandard, &status) == 0) {
        const std::error_code error = LastError();
        return error.value() == ERROR_FILE_NOT_FOUND ? std::error_code() : error;
    }
    kind = KindOf(status.dwFileAttributes);
    if (kind == EntryKind::File)
        size = static_cast<std::uint64_t>(status.nFileSizeHigh) << 32 | status.nFileSizeLow;
    return {};
}

std::error_code Folder::List(std::vector<FolderEntry>& entries) const {
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(PathIn(m_path, L"*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return LastError();
    do {
        const Text name = found.cFileName;
        if (name != L"." && name != L"..") entries.push_back({name, KindOf(found.dwFileAttributes)});
    } while (FindNextFileW(search, &found) != 0);
    const std::error_code error = LastError();
    FindClose(search);
    return error.value() == ERROR_NO_MORE_FILES ? std::error_code() : error;
}

}  // namespace platform
