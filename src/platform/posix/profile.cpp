// Profile (INI) files by own code. A relative file name means the process's working folder.
#include "platform/profile.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/posix/profilefile.h"
#include "platform/posix/profiletext.h"
#include "platform/utf8.h"

namespace platform::profile {

namespace {

using namespace profiletext;

constexpr std::size_t textTerminators = 1;
constexpr std::size_t listTerminators = 2;

/// Files are named in UTF-8 here, whatever the ANSI code page. A name that UTF-8 cannot tell exactly must not
/// become that of another file, so it becomes the empty one, which no file has.
std::string PathOf(const WChar* file) {
    std::string path = Utf8Of(file);
    return TextOfUtf8(path) == file ? path : std::string();
}

FileContent Read(const WChar* file) {
    std::optional<FileContent> content = ReadProfileFile(PathOf(file));
    return content && !HasByteOrderMark(content->GetView()) ? std::move(*content) : FileContent();
}

template <class Change>
bool ChangeText(const WChar* file, Change change) {
    return ChangeProfileFile(PathOf(file), [&change](std::string& text) {
        if (HasByteOrderMark(text)) return false;
        change(text);
        return true;
    });
}

std::string Cut(std::string_view text, std::size_t capacity, std::size_t terminators) {
    const std::size_t room = capacity > terminators ? capacity - terminators : 0;
    return std::string(text.substr(0, room));
}

// Numbers

std::uint32_t DigitOf(char c) {
    if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<std::uint32_t>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<std::uint32_t>(c - 'A' + 10);
    return UINT32_MAX;
}

/// Takes the prefix of a number and tells the base; the platform knows prefixes in lower case only.
std::uint32_t TakeBase(std::string_view& text) {
    static constexpr struct {
        std::string_view prefix;
        std::uint32_t base;
    } bases[] = {{"0x", 16}, {"0o", 8}, {"0b", 2}};
    for (const auto& [prefix, base] : bases) {
        if (!text.starts_with(prefix)) continue;
        text.remove_prefix(prefix.size());
        return base;
    }
    return 10;
}

DWORD ParseNumber(std::string_view text) {
    while (!text.empty() && text.front() > '\0' && text.front() <= ' ')
        text.remove_prefix(1);
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) text.remove_prefix(1);
    const std::uint32_t base = TakeBase(text);
    std::uint32_t number = 0;
    for (; !text.empty() && DigitOf(text.front()) < base; text.remove_prefix(1))
        number = number * base + DigitOf(text.front());
    return isNegative ? 0 - number : number;
}

// Bytes

std::string HexOf(const BYTE* bytes, std::size_t size) {
    std::string hex;
    BYTE sum = 0;
    const auto put = [&hex](BYTE byte) {
        constexpr std::string_view digits = "0123456789ABCDEF";
        hex += digits[byte >> 4];
        hex += digits[byte & 0x0F];
    };
    for (std::size_t i = 0; i < size; ++i) {
        put(bytes[i]);
        sum = static_cast<BYTE>(sum + bytes[i]);
    }
    put(sum);
    return hex;
}

/// The bytes of hexadecimal text, the sum at their end included; none when the text or the sum is wrong.
std::vector<BYTE> BytesOf(std::string_view hex) {
    std::vector<BYTE> bytes;
    BYTE sum = 0;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        const std::uint32_t value = DigitOf(hex[i]) << 4 | DigitOf(hex[i + 1]);
        if (value > 0xFF) return {};
        if (!bytes.empty()) sum = static_cast<BYTE>(sum + bytes.back());
        bytes.push_back(static_cast<BYTE>(value));
    }
    return !bytes.empty() && bytes.back() == sum ? bytes : std::vector<BYTE>();
}

}  // namespace

std::string ReadText(const WChar* file, const char* section, const char* key, const char* fallback,
                     std::size_t capacity) {
    const FileContent content = Read(file);
    const std::string_view instead = Unquoted(fallback != nullptr ? fallback : "");
    if (section != nullptr && key != nullptr) {
        const auto value = FindValue(content.GetView(), section, key);
        return Cut(value ? Unquoted(*value) : instead, capacity, textTerminators);
    }
    if (section == nullptr) return Cut(ListSections(content.GetView()), capacity, listTerminators);
    const std::string list = ListKeys(content.GetView(), section);
    const bool isNone = list.empty() || list.front() == '\0';  // it cannot begin with a key without a name
    return isNone ? Cut(instead, capacity, textTerminators) : Cut(list, capacity, listTerminators);
}

std::string ReadSection(const WChar* file, const char* section, std::size_t capacity) {
    return Cut(ListEntries(Read(file).GetView(), section), capacity, listTerminators);
}

std::string ReadSectionNames(const WChar* file, std::size_t capacity) {
    return Cut(ListSections(Read(file).GetView()), capacity, listTerminators);
}

DWORD ReadNumber(const WChar* file, const char* section, const char* key, int fallback) {
    const FileContent content = Read(file);
    const std::string_view value = Unquoted(FindValue(content.GetView(), section, key).value_or(""));
    return value.empty() ? static_cast<DWORD>(fallback) : ParseNumber(value);
}

bool ReadStruct(const WChar* file, const char* section, const char* key, void* out, DWORD size) {
    const FileContent content = Read(file);
    const auto hex = FindValue(content.GetView(), section, key);
    const std::size_t digits = (std::size_t{size} + 1) * 2;
    if (!hex || hex->size() < digits) return false;
    const std::vector<BYTE> bytes = BytesOf(hex->substr(0, digits));
    if (bytes.empty()) return false;
    std::copy_n(bytes.begin(), size, static_cast<BYTE*>(out));
    return true;
}

bool WriteText(const WChar* file, const char* section, const char* key, const char* value) {
    if (section == nullptr) return false;
    return ChangeText(file, [=](std::string& text) {
        if (key == nullptr) return RemoveSection(text, section);
        if (value == nullptr) return RemoveKey(text, section, key);
        SetValue(text, section, key, value);
    });
}

bool WriteSection(const WChar* file, const char* section, const char* entries) {
    if (section == nullptr) return false;
    return ChangeText(file, [=](std::string& text) {
        if (entries == nullptr) return RemoveSection(text, section);
        ReplaceSection(text, section, entries);
    });
}

bool WriteStruct(const WChar* file, const char* section, const char* key, const void* data, DWORD size) {
    if (data == nullptr) return WriteText(file, section, key, nullptr);
    return WriteText(file, section, key, HexOf(static_cast<const BYTE*>(data), size).c_str());
}

}  // namespace platform::profile
