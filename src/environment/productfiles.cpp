// Product files: finding, naming and reading them, without ever leaving their folder.
#include "environment/productfiles.h"

#include <algorithm>
#include <string>
#include <utility>

#include "platform/path.h"
#include "platform/text.h"
#include "platform/utf8.h"
#include "utilities/utilitiesdll/devicename.h"
#include "utilities/utilitiesdll/norvautilities.h"

namespace productfiles {

namespace fs = std::filesystem;

namespace {

constexpr WChar separator = fs::path::preferred_separator;

bool IsSeparator(WChar character) {
    return character == WChar{'/'} || character == WChar{'\\'};
}

/// Letters of ASCII in lower case, which sorts names as the product's platform does.
fs::path::string_type SortKey(const fs::path& path) {
    using Unit = fs::path::value_type;
    fs::path::string_type name = path.filename().native();
    std::transform(name.begin(), name.end(), name.begin(), [](Unit unit) {
        return unit >= Unit{'A'} && unit <= Unit{'Z'} ? static_cast<Unit>(unit - Unit{'A'} + Unit{'a'})
                                                      : unit;
    });
    return name;
}

/// Whether a file is a map file by its name, in which case matters.
bool IsMapFileName(const fs::path& path) {
    constexpr fs::path::value_type mark[] = {'.', 'm', 'a', 'p', 0};
    return path.filename().native().find(mark) != fs::path::string_type::npos;
}

/// What is in a folder, the last one first.
std::error_code ListBackwards(const fs::path& folder, std::vector<platform::PathEntry>& entries) {
    const std::error_code error = platform::ListPath(folder, entries);
    std::sort(entries.begin(), entries.end(), [](const auto& left, const auto& right) {
        return std::pair(SortKey(right.name), right.name) < std::pair(SortKey(left.name), left.name);
    });
    return error;
}

/// Whether a platform could take a name in a path for something else than a file or folder of that name:
/// dots and blanks at its end may be cut off, a colon begins a drive or a stream, and some name devices.
bool IsPlainName(TextView name) {
    return !IsDeviceName(name) && name.find_first_not_of(NV_TEXT(". ")) != TextView::npos &&
           name.find(WChar{':'}) == TextView::npos && name.find(WChar{0}) == TextView::npos;
}

// A path's own text is that of strings on Windows and UTF-8 elsewhere.

[[maybe_unused]] CXString StringOfNative(const platform::Text& text) {
    return StringOf(text);
}

[[maybe_unused]] CXString StringOfNative(const std::string& utf8) {
    return StringOf(platform::TextOfUtf8(utf8));
}

}  // namespace

fs::path PathOf(const CXString& name) {
    const ByteBuffer utf8 = NorvaUtilities::UTF8_Encode(name);
    return utf8.empty() ? fs::path() : fs::path(reinterpret_cast<const char8_t*>(utf8.data()));
}

CXString NameOf(const fs::path& path) {
    return StringOfNative(path.native());
}

bool IsPathText(TextView name) {
    return ViewOf(NameOf(PathOf(StringOf(name)))) == name;
}

Identity IdentityOfFolder(const fs::path& folder) {
    fs::path found;
    if (!platform::ResolvePath(folder, platform::LastLink::Follow, found)) return found.native();
    std::error_code error;
    found = fs::absolute(folder, error).lexically_normal();
    return (found.has_filename() ? found : found.parent_path()).make_preferred().native();
}

Identity IdentityOfFile(const fs::path& file) {
    fs::path found;
    if (!platform::ResolvePath(file, platform::LastLink::Keep, found)) return found.native();
    return PrefixOf(IdentityOfFolder(file.has_parent_path() ? file.parent_path() : ".")) +
           file.filename().native();
}

Identity PrefixOf(const Identity& folder) {
    const bool isWhole = folder.empty() || folder.back() == fs::path::preferred_separator;
    return isWhole ? folder : folder + fs::path::preferred_separator;
}

bool MapFiles::IsComplete() const {
    return std::none_of(skipped.begin(), skipped.end(), [](const Skipped& each) { return each.reason; });
}

MapFiles FindMapFiles(const fs::path& folder) {
    using platform::EntryKind;
    MapFiles found;
    std::vector<platform::PathEntry> pending = {{folder, EntryKind::Folder}};  // the next one last
    while (!pending.empty()) {
        const auto [path, kind] = std::move(pending.back());
        pending.pop_back();
        std::error_code error;
        if (kind == EntryKind::Folder) {
            std::vector<platform::PathEntry> entries;
            if ((error = ListBackwards(path, entries))) found.skipped.push_back({path, error});
            for (platform::PathEntry& entry : entries)
                pending.push_back({path / entry.name, entry.kind});
        } else if (kind == EntryKind::Other && fs::is_directory(path, error)) {
            found.skipped.push_back({path, {}});
        } else if (IsMapFileName(path)) {
            found.files.push_back(path);
        }
    }
    return found;
}

std::error_code ReadFile(const fs::path& file, ByteBuffer& bytes) {
    std::vector<BYTE> content;
    const std::error_code error = platform::ReadPath(file, largestFile, content);
    bytes = ByteBuffer();
    if (!error) bytes.insert(bytes.end(), content.begin(), content.end());
    return error;
}

std::optional<ByteBuffer> ReadFile(const fs::path& file) {
    ByteBuffer bytes;
    return ReadFile(file, bytes) ? std::nullopt : std::optional(std::move(bytes));
}

CXString TextOf(const ByteBuffer& bytes) {
    const auto end = std::find(bytes.begin(), bytes.end(), BYTE{0});
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<int>(end - bytes.begin())};
}

std::optional<CXString> RelativePath(TextView path) {
    CXString result;
    for (std::size_t begin = 0; begin <= path.size();) {
        const auto end =
            std::find_if(path.begin() + static_cast<std::ptrdiff_t>(begin), path.end(), IsSeparator);
        const TextView name(path.data() + begin, static_cast<std::size_t>(end - path.begin()) - begin);
        begin += name.size() + 1;
        if (name == NV_TEXT(".") || (name.empty() && !result.IsEmpty())) continue;
        if (!IsPlainName(name)) return std::nullopt;
        if (!result.IsEmpty()) result += separator;
        result += StringOf(name);
    }
    return result.IsEmpty() ? std::nullopt : std::optional(result);
}

CXString JoinPath(const CXString& folder, const CXString& relative) {
    CXString path = folder;
    while (path.GetLength() > 1 && IsSeparator(path[path.GetLength() - 1]))
        path.Delete(path.GetLength() - 1);
    return path == NV_TEXT("/") ? path + relative : path + separator + relative;
}

}  // namespace productfiles
