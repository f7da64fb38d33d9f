// Product files: finding, naming and reading them, without ever leaving their folder.
#include "environment/productfiles.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <system_error>

#include "platform/codepage.h"
#include "platform/text.h"
#include "utilities/utilitiesdll/devicename.h"
#include "utilities/utilitiesdll/norvautilities.h"

namespace productfiles {

namespace fs = std::filesystem;

namespace {

constexpr int deepestFolder = 32;
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

std::vector<fs::path> ListSorted(const fs::path& folder) {
    std::vector<std::pair<fs::path::string_type, fs::path>> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        entries.emplace_back(SortKey(entry->path()), entry->path());
    std::sort(entries.begin(), entries.end());
    std::vector<fs::path> paths;
    paths.reserve(entries.size());
    for (auto& [key, path] : entries)
        paths.push_back(std::move(path));
    return paths;
}

void AddMapFiles(const fs::path& folder, int depth, std::vector<fs::path>& files) {
    for (const fs::path& path : ListSorted(folder)) {
        std::error_code error;
        if (fs::is_directory(fs::symlink_status(path, error))) {
            if (depth < deepestFolder) AddMapFiles(path, depth + 1, files);
        } else if (IsMapFileName(path) && fs::is_regular_file(path, error)) {
            files.push_back(path);
        }
    }
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
    CXString text;
    const int size = static_cast<int>(utf8.size());
    WChar* const units = text.GetBufferSetLength(size);  // no byte becomes more than one unit
    const int length = platform::WideFromNarrow(platform::CodePage::Utf8, utf8.data(), size, units, size);
    return text.Left(length);
}

}  // namespace

fs::path PathOf(const CXString& name) {
    const ByteBuffer utf8 = NorvaUtilities::UTF8_Encode(name);
    return utf8.empty() ? fs::path() : fs::path(reinterpret_cast<const char8_t*>(utf8.data()));
}

CXString NameOf(const fs::path& path) {
    return StringOfNative(path.native());
}

std::vector<fs::path> FindMapFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    AddMapFiles(folder, 1, files);
    return files;
}

std::optional<ByteBuffer> ReadFile(const fs::path& file) {
    std::error_code error;
    if (!fs::is_regular_file(file, error)) return std::nullopt;
    const std::uintmax_t size = fs::file_size(file, error);
    if (error || size > largestFile) return std::nullopt;

    std::ifstream in(file, std::ios::binary);
    ByteBuffer bytes(static_cast<std::size_t>(size), 0);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
    if (!in.is_open() || in.bad()) return std::nullopt;
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    return bytes;
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
