// UTF-8, character by character and as whole texts.
#include "platform/utf8.h"

#include <algorithm>
#include <climits>

#include "platform/codepage.h"

namespace platform {

namespace {

/// As much as the conversions take.
template <class View>
int LengthOf(View text) {
    return static_cast<int>(std::min<std::size_t>(text.size(), INT_MAX));
}

}  // namespace

std::string Utf8Of(std::basic_string_view<WChar> text) {
    const int length = LengthOf(text);
    std::string utf8(
        static_cast<std::size_t>(NarrowFromWide(CodePage::Utf8, text.data(), length, nullptr, 0)), '\0');
    NarrowFromWide(CodePage::Utf8, text.data(), length, utf8.data(), static_cast<int>(utf8.size()));
    return utf8;
}

Text TextOfUtf8(std::string_view utf8) {
    const int length = LengthOf(utf8);
    Text text(utf8.size(), WChar{0});  // no byte becomes more than one unit
    text.resize(
        static_cast<std::size_t>(WideFromNarrow(CodePage::Utf8, utf8.data(), length, text.data(), length)));
    return text;
}

}  // namespace platform
