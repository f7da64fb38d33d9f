// UTF8Ini: turns wide arguments into UTF-8, lets the platform do the work, and decodes what it found.
#include "utilities/utilitiesdll/utf8ini.h"

#include <algorithm>
#include <climits>
#include <exception>
#include <string>
#include <vector>

#include "platform/profile.h"
#include "platform/utf8.h"
#include "utilities/utilitiesdll/norvautilities.h"

namespace {

namespace profile = platform::profile;

constexpr std::size_t valueTerminators = 1;
constexpr std::size_t listTerminators = 2;

/// An argument in UTF-8. Null stays null, and means something, so a failed conversion must not look like it.
class Utf8Argument {
public:
    explicit Utf8Argument(const WChar* text) : m_utf8(NorvaUtilities::UTF8_Encode(text)) {
        if (text != nullptr && m_utf8.empty()) throw std::bad_alloc();
    }
    operator const char*() const { return reinterpret_cast<const char*>(m_utf8.getLpbyte()); }

private:
    ByteBuffer m_utf8;
};

/// The UTF-8 of a list: texts with a terminator each, up to an empty one.
std::string Utf8List(const WChar* list) {
    std::size_t length = 0;
    while (list[length] != 0)
        length += std::char_traits<WChar>::length(list + length) + 1;
    if (length > INT_MAX) throw std::bad_alloc();
    return platform::Utf8Of({list, length});
}

/// Decodes into the caller's buffer as far as it and the terminators fit.
DWORD Deliver(const std::string& utf8, WChar* out, std::size_t size, std::size_t terminators) {
    const platform::Text wide = platform::TextOfUtf8(utf8);
    const std::size_t count = std::min(wide.size(), size > terminators ? size - terminators : 0);
    std::copy_n(wide.begin(), count, out);
    std::fill_n(out + count, std::min(terminators, size), WChar{0});
    return static_cast<DWORD>(count);
}

/// The platform's room for a result of so many code units, in bytes. No code unit takes more than three.
std::size_t ByteCapacity(DWORD size) {
    return std::size_t{size} * 8;
}

/// The result of a function, or that of a failure when memory runs out.
template <class Result, class Function>
Result OrFailure(Result failure, Function function) {
    try {
        return static_cast<Result>(function());
    } catch (const std::exception&) {
        return failure;
    }
}

}  // namespace

unsigned UTF8Ini::GetPrivateProfileIntW(const WChar* section, const WChar* key, int defaultValue,
                                        const WChar* file) {
    const auto failure = static_cast<unsigned>(defaultValue);
    if (section == nullptr || key == nullptr || file == nullptr) return failure;
    return OrFailure(failure, [=] {
        return profile::ReadNumber(file, Utf8Argument(section), Utf8Argument(key), defaultValue);
    });
}

DWORD UTF8Ini::GetPrivateProfileSectionW(const WChar* section, WChar* out, DWORD size, const WChar* file) {
    if (section == nullptr || out == nullptr || size == 0 || file == nullptr) return 0;
    return OrFailure(DWORD{0}, [=] {
        const std::string list = profile::ReadSection(file, Utf8Argument(section), ByteCapacity(size));
        return Deliver(list, out, size, listTerminators);
    });
}

DWORD UTF8Ini::GetPrivateProfileSectionNamesW(WChar* out, DWORD size, const WChar* file) {
    if (out == nullptr || size == 0 || file == nullptr) return 0;
    return OrFailure(DWORD{0}, [=] {
        return Deliver(profile::ReadSectionNames(file, ByteCapacity(size)), out, size, listTerminators);
    });
}

DWORD UTF8Ini::GetPrivateProfileStringW(const WChar* section, const WChar* key, const WChar* defaultValue,
                                        WChar* out, DWORD size, const WChar* file) {
    if (section == nullptr || key == nullptr || out == nullptr || size == 0 || file == nullptr) return 0;
    return OrFailure(DWORD{0}, [=] {
        const std::string value = profile::ReadText(file, Utf8Argument(section), Utf8Argument(key),
                                                    Utf8Argument(defaultValue), ByteCapacity(size));
        return Deliver(value, out, size, valueTerminators);
    });
}

BOOL UTF8Ini::GetPrivateProfileStructW(const WChar* section, const WChar* key, void* out, unsigned size,
                                       const WChar* file) {
    if (section == nullptr || key == nullptr || out == nullptr || file == nullptr) return 0;
    return OrFailure(BOOL{0}, [=] {
        return profile::ReadStruct(file, Utf8Argument(section), Utf8Argument(key), out, size);
    });
}

BOOL UTF8Ini::WritePrivateProfileInt(const WChar* section, const WChar* key, int value, const WChar* file) {
    if (section == nullptr || key == nullptr || file == nullptr) return 0;
    return OrFailure(BOOL{0}, [=] {
        return profile::WriteText(file, Utf8Argument(section), Utf8Argument(key),
                                  std::to_string(value).c_str());
    });
}

BOOL UTF8Ini::WritePrivateProfileSectionW(const WChar* section, const WChar* entries, const WChar* file) {
    if (section == nullptr || file == nullptr) return 0;
    return OrFailure(BOOL{0}, [=] {
        const Utf8Argument name(section);
        if (entries == nullptr) return profile::WriteSection(file, name, nullptr);
        return profile::WriteSection(file, name, Utf8List(entries).c_str());
    });
}

BOOL UTF8Ini::WritePrivateProfileStringW(const WChar* section, const WChar* key, const WChar* value,
                                         const WChar* file) {
    if (section == nullptr || file == nullptr) return 0;
    return OrFailure(BOOL{0}, [=] {
        return profile::WriteText(file, Utf8Argument(section), Utf8Argument(key), Utf8Argument(value));
    });
}

BOOL UTF8Ini::WritePrivateProfileStructW(const WChar* section, const WChar* key, const void* data,
                                         unsigned size, const WChar* file) {
    if (section == nullptr || key == nullptr || file == nullptr) return 0;
    return OrFailure(BOOL{0}, [=] {
        return profile::WriteStruct(file, Utf8Argument(section), Utf8Argument(key), data, size);
    });
}
