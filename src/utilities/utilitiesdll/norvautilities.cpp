// NorvaUtilities: conversions between wide and 8-bit text.
#include "utilities/utilitiesdll/norvautilities.h"

#include <algorithm>
#include <climits>
#include <new>
#include <string>

#include "platform/codepage.h"

namespace {

using platform::CodePage;

/// Units of a terminated text with its terminator; 0 for null or more than a conversion can take.
template <class Unit>
int TerminatedLength(const Unit* text) {
    if (text == nullptr) return 0;
    const std::size_t length = std::char_traits<Unit>::length(text);
    return length < INT_MAX ? static_cast<int>(length) + 1 : 0;
}

ByteBuffer BufferOf(int units, std::size_t unitSize) {
    try {
        return ByteBuffer(static_cast<std::size_t>(units) * unitSize);
    } catch (const std::bad_alloc&) {
        return {};
    }
}

/// The room of a caller's buffer as the conversions take it.
int Capacity(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, INT_MAX));
}

}  // namespace

namespace NorvaUtilities {

ByteBuffer UTF8_Encode(const WChar* text) {
    const int length = TerminatedLength(text);
    const int size = platform::NarrowFromWide(CodePage::Utf8, text, length, nullptr, 0);
    ByteBuffer utf8 = BufferOf(size, sizeof(char));
    if (!utf8.empty())
        platform::NarrowFromWide(CodePage::Utf8, text, length, reinterpret_cast<char*>(utf8.data()), size);
    return utf8;
}

ByteBuffer UTF8_Decode(const char* text) {
    // That a single byte decodes to nothing is deliberate.
    if (text == nullptr || text[0] == '\0' || text[1] == '\0') return {};
    const int terminatedLength = TerminatedLength(text);
    // There are never more code units than bytes, so that the size need not be asked for first.
    ByteBuffer wide = BufferOf(terminatedLength, sizeof(WChar));
    if (wide.empty()) return {};
    // The terminator is added here: the platform may take it for a part of a character that is cut off.
    auto* const units = reinterpret_cast<WChar*>(wide.data());
    const int length = terminatedLength - 1;
    const int size = platform::WideFromNarrow(CodePage::Utf8, text, length, units, length);
    if (size == 0) return {};
    units[size] = 0;
    wide.resize((static_cast<std::size_t>(size) + 1) * sizeof(WChar));
    return wide;
}

bool WideCharStrToMultiByteStr(const WChar* text, char* out, std::size_t size) {
    if (out == nullptr || size == 0) return false;
    const bool fits =
        platform::NarrowFromWide(CodePage::Ansi, text, TerminatedLength(text), out, Capacity(size)) > 0;
    if (!fits) out[0] = '\0';
    return fits;
}

bool MultiByteStrToWideCharStr(const char* text, WChar* out, std::size_t size) {
    if (out == nullptr || size == 0) return false;
    const bool fits =
        platform::WideFromNarrow(CodePage::Ansi, text, TerminatedLength(text), out, Capacity(size)) > 0;
    if (!fits) out[0] = WChar{0};
    return fits;
}

}  // namespace NorvaUtilities
