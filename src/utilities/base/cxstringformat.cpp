// CXString: formatting.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "platform/formatconversion.h"
#include "platform/wideformat.h"
#include "utilities/utilitiesdll/cxstring.h"

namespace {

using platform::FormatArguments;
using platform::FormatConversion;

// The longest result, whatever widths and precisions ask for.
constexpr std::size_t maxFormattedLength = 0x0FFFFFFF;

constexpr std::size_t integerBound = 32;      // 64 bits in octal, with sign and prefix
constexpr std::size_t floatBound = 128;       // sign, digits of the default precision and exponent
constexpr std::size_t fixedPointBound = 320;  // sign and the 309 digits in front of the separator

// Length of a text that need not be terminated when a precision limits it.
template <class Character>
std::size_t TextBound(const Character* text, int precision) {
    if (text == nullptr) return 6;  // "(null)"
    const auto limit = precision >= 0 ? static_cast<std::size_t>(precision) : SIZE_MAX;
    std::size_t length = 0;
    while (length < limit && text[length] != 0)
        ++length;
    return std::max<std::size_t>(length, 1);
}

// The upper bound of one conversion without its width; fetches its argument.
std::size_t ConversionBound(const FormatConversion& conversion, FormatArguments& arguments) {
    using Kind = FormatConversion::Kind;
    const auto precision = static_cast<std::size_t>(std::max(conversion.precision, 0));
    switch (conversion.GetKind()) {
        case Kind::String:
            if (conversion.IsNarrowText())
                return TextBound(va_arg(arguments.list, const char*), conversion.precision);
            return TextBound(va_arg(arguments.list, const WChar*), conversion.precision);
        case Kind::Character:
            static_cast<void>(va_arg(arguments.list, int));
            return 2;
        case Kind::Signed:
        case Kind::Unsigned:
            if (conversion.size == FormatConversion::Size::Bits64) {
                static_cast<void>(va_arg(arguments.list, std::int64_t));
            } else {
                static_cast<void>(va_arg(arguments.list, int));
            }
            return std::max(integerBound, integerBound / 8 + precision);
        case Kind::Float:
            static_cast<void>(va_arg(arguments.list, double));
            return (conversion.type == NV_TEXT('f') ? fixedPointBound : floatBound) + precision;
        case Kind::Pointer:
            static_cast<void>(va_arg(arguments.list, void*));
            return integerBound;
        case Kind::Store:
            static_cast<void>(va_arg(arguments.list, void*));
            return 0;
        default:
            return 1;
    }
}

// An upper bound of the formatted length. Stops counting once the result would be too long anyway.
std::size_t FormattedLengthBound(const WChar* format, va_list list) {
    FormatArguments arguments(list);
    std::size_t bound = 0;
    while (*format != 0 && bound <= maxFormattedLength) {
        if (*format++ != NV_TEXT('%')) {
            ++bound;
        } else if (*format == NV_TEXT('%')) {
            ++format;
            ++bound;
        } else {
            FormatConversion conversion = platform::ReadFormatConversion(format);
            conversion.FetchStars(arguments);
            if (conversion.alternateForm) bound += 2;
            bound +=
                std::max(static_cast<std::size_t>(conversion.width), ConversionBound(conversion, arguments));
        }
    }
    return bound;
}

}  // namespace

void CXString::Format(const WChar* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    try {
        FormatV(format, arguments);
    } catch (...) {
        va_end(arguments);
        throw;
    }
    va_end(arguments);
}

void CXString::FormatV(const WChar* format, va_list arguments) {
    if (format == nullptr) format = NV_TEXT("");
    const std::size_t bound = FormattedLengthBound(format, arguments);
    if (bound > maxFormattedLength) ThrowOutOfMemory();

    // Into a buffer of its own, since the format or an argument may be this string's buffer.
    CXString result;
    WChar* characters = result.GetBuffer(static_cast<int>(bound));
    platform::FormatWide(characters, bound + 1, format, arguments);
    result.ReleaseBuffer();
    Swap(result);
}
