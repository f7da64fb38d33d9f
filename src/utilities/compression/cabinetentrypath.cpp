// ReadCabinetEntryPath: decoding a name and checking each of its parts.
#include "utilities/compression/cabinetentrypath.h"

#include <algorithm>
#include <string_view>

#include "platform/codepage.h"
#include "platform/text.h"
#include "platform/utf8.h"
#include "utilities/utilitiesdll/devicename.h"

namespace {

using platform::Text;
using TextView = std::basic_string_view<WChar>;

constexpr std::size_t longestName = 255;  // in bytes of UTF-8
constexpr TextView separators = NV_TEXT("\\/");
constexpr TextView forbiddenCharacters = NV_TEXT("<>:\"|?*");
constexpr TextView blanksAndDots = NV_TEXT(" .");
constexpr WChar replacementCharacter = 0xFFFD;

Text Decode(std::string_view name, WORD attributes) {
    if ((attributes & cabinetNameIsUtf8) != 0) return platform::TextOfUtf8(name);
    const auto length = static_cast<int>(name.size());
    const int size = platform::WideFromNarrow(platform::CodePage::Ansi, name.data(), length, nullptr, 0);
    Text text(static_cast<std::size_t>(size), WChar{0});
    platform::WideFromNarrow(platform::CodePage::Ansi, name.data(), length, text.data(), size);
    return text;
}

bool IsControl(WChar character) {
    constexpr WChar firstPrintable = 0x20;
    constexpr WChar firstUpperControl = 0x7F;
    constexpr WChar lastUpperControl = 0x9F;
    return character < firstPrintable || (character >= firstUpperControl && character <= lastUpperControl);
}

/// Whether a name can be written as it stands: every surrogate has its other half.
bool IsWellFormed(TextView name) {
    return name.find(replacementCharacter) == TextView::npos &&
           platform::TextOfUtf8(platform::Utf8Of(name)) == name;
}

const WChar* FindFault(TextView name) {
    if (name.empty()) return NV_TEXT("has an empty part");
    if (blanksAndDots.find(name.back()) != TextView::npos)
        return NV_TEXT("has a part that ends with a blank or a dot");
    if (name.find_first_of(forbiddenCharacters) != TextView::npos ||
        std::any_of(name.begin(), name.end(), IsControl) || !IsWellFormed(name))
        return NV_TEXT("has a character that no file name may have");
    if (IsDeviceName(name)) return NV_TEXT("has the name of a device in it");
    if (platform::Utf8Of(name).size() > longestName) return NV_TEXT("has a part that is too long");
    return nullptr;
}

}  // namespace

CXString DecodeCabinetName(std::string_view name, WORD attributes) {
    const Text text = Decode(name, attributes);
    return CXString(text.data(), static_cast<int>(text.size()));
}

const WChar* ReadCabinetEntryPath(const nvutil::CabinetEntry& entry, CXString& path) {
    Text text = Decode(entry.name, entry.attributes);
    int depth = 0;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find_first_of(separators, begin), text.size());
        if (const WChar* const fault = FindFault(TextView(text).substr(begin, end - begin))) return fault;
        if (++depth > deepestCabinetPath) return NV_TEXT("has too many folders");
        if (end < text.size()) text[end] = cabinetPathSeparator;
        begin = end + 1;
    }
    path = CXString(text.data(), static_cast<int>(text.size()));
    return nullptr;
}
