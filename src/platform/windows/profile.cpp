// Profile (INI) files by the operating system's 8-bit functions.
//
// A name without a folder means the Windows folder. The file's name must be one of the ANSI code page.
#include "platform/profile.h"

#include <windows.h>

#include <algorithm>
#include <climits>
#include <string>
#include <string_view>

namespace platform::profile {

namespace {

constexpr const char* nameOfNoFile = "?";

/// The path that the 8-bit functions mean: a name without a folder lies in the Windows folder.
std::wstring PathOf(const std::wstring& file) {
    if (file.find_first_of(L"\\/:") != std::wstring::npos) return file;
    std::wstring folder(MAX_PATH, L'\0');
    folder.resize(std::min<UINT>(GetWindowsDirectoryW(folder.data(), MAX_PATH), MAX_PATH));
    return folder + L'\\' + file;
}

/// Whether a file begins with a byte-order mark. The versions of the functions differ in what they make of
/// one: a part of the first line, or a sign that all they are given is to be encoded once more.
bool HasByteOrderMark(const WChar* file) {
    const HANDLE handle = CreateFileW(PathOf(file).c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return false;
    char begin[3];
    DWORD size = 0;
    if (GetFileType(handle) == FILE_TYPE_DISK) ReadFile(handle, begin, sizeof begin, &size, nullptr);
    CloseHandle(handle);
    const std::string_view text(begin, size);
    return text == "\xEF\xBB\xBF" || text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF");
}

/// A file's name as the 8-bit functions take it. One that the code page cannot tell exactly must not become
/// that of another file, and one that must not be touched is not to be found, so these become one that no
/// file can have.
std::string NarrowName(const WChar* file) {
    if (HasByteOrderMark(file)) return nameOfNoFile;
    const bool isUtf8 = GetACP() == CP_UTF8;  // which takes no question, and has a flag of its own
    const DWORD flags = isUtf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
    BOOL isReplaced = FALSE;
    BOOL* const replaced = isUtf8 ? nullptr : &isReplaced;
    const int size = WideCharToMultiByte(CP_ACP, flags, file, -1, nullptr, 0, nullptr, replaced);
    std::string name(static_cast<std::size_t>(std::max(size, 0)), '\0');
    WideCharToMultiByte(CP_ACP, flags, file, -1, name.data(), size, nullptr, replaced);
    return isReplaced == FALSE && !name.empty() ? name : nameOfNoFile;
}

/// Calls a function that fills a buffer, with the caller's capacity or, as long as that is more than the
/// result needs, less.
/// @param terminators  how many follow the result
template <class Function>
std::string ReadWith(std::size_t capacity, std::size_t terminators, Function function) {
    constexpr std::size_t enoughForMost = 65536;
    if (capacity <= terminators) return {};
    capacity = std::min<std::size_t>(capacity, INT_MAX);
    std::string result;
    for (std::size_t size = std::min(capacity, enoughForMost);; size = std::min(capacity, size * 2)) {
        result.resize(size);
        const DWORD length = function(result.data(), static_cast<DWORD>(size));
        if (length + terminators < size || size == capacity) {
            result.resize(std::min<std::size_t>(length, size));
            return result;
        }
    }
}

}  // namespace

std::string ReadText(const WChar* file, const char* section, const char* key, const char* fallback,
                     std::size_t capacity) {
    const std::string name = NarrowName(file);
    const bool isList = section == nullptr || key == nullptr;
    return ReadWith(capacity, isList ? 2 : 1, [&](char* out, DWORD size) {
        return GetPrivateProfileStringA(section, key, fallback, out, size, name.c_str());
    });
}

std::string ReadSection(const WChar* file, const char* section, std::size_t capacity) {
    const std::string name = NarrowName(file);
    return ReadWith(capacity, 2, [&](char* out, DWORD size) {
        return GetPrivateProfileSectionA(section, out, size, name.c_str());
    });
}

std::string ReadSectionNames(const WChar* file, std::size_t capacity) {
    const std::string name = NarrowName(file);
    return ReadWith(capacity, 2, [&](char* out, DWORD size) {
        return GetPrivateProfileSectionNamesA(out, size, name.c_str());
    });
}

DWORD ReadNumber(const WChar* file, const char* section, const char* key, int fallback) {
    return GetPrivateProfileIntA(section, key, fallback, NarrowName(file).c_str());
}

bool ReadStruct(const WChar* file, const char* section, const char* key, void* out, DWORD size) {
    return GetPrivateProfileStructA(section, key, out, size, NarrowName(file).c_str()) != FALSE;
}

bool WriteText(const WChar* file, const char* section, const char* key, const char* value) {
    return WritePrivateProfileStringA(section, key, value, NarrowName(file).c_str()) != FALSE;
}

bool WriteSection(const WChar* file, const char* section, const char* entries) {
    return section != nullptr &&  // which not every version of the function checks
           WritePrivateProfileSectionA(section, entries, NarrowName(file).c_str()) != FALSE;
}

bool WriteStruct(const WChar* file, const char* section, const char* key, const void* data, DWORD size) {
    return WritePrivateProfileStructA(section, key, const_cast<void*>(data), size,
                                      NarrowName(file).c_str()) != FALSE;
}

}  // namespace platform::profile
