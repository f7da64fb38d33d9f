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

void FetchStars(FormatConversion& conversion, FormatArguments& arguments) {
    if (conversion.widthIsArgument) conversion.SetWidth(va_arg(arguments.list, int));
    if (conversion.precisionIsArgument) conversion.precision = va_arg(arguments.list, int);
}

// The upper bound of one conversion without its width; fetches its argument.
std::size_t ConversionBound(const FormatConversion& conversion, FormatArguments& arguments) {
    const auto precision = static_cast<std::size_t>(std::max(conversion.precision, 0));
    switch (conversion.type) {
        case NV_TEXT('s'):
        case NV_TEXT('S'):
            if (conversion.IsNarrowText()) {
                return TextBound(va_arg(arguments.list, const char*), conversion.precision);
            }
            return TextBound(va_arg(arguments.list, const WChar*), conversion.precision);
        case NV_TEXT('c'):
        case NV_TEXT('C'):
            static_cast<void>(va_arg(arguments.list, int));
            return 2;
        case NV_TEXT('d'):
        case NV_TEXT('i'):
        case NV_TEXT('o'):
        case NV_TEXT('u'):
        case NV_TEXT('x'):
        case NV_TEXT('X'):
            if (conversion.size == FormatConversion::Size::Bits64) {
                static_cast<void>(va_arg(arguments.list, std::int64_t));
            } else {
                static_cast<void>(va_arg(arguments.list, int));
            }
            return std::max(integerBound, integerBound / 8 + precision);
        case NV_TEXT('e'):
        case NV_TEXT('E'):
        case NV_TEXT('g'):
        case NV_TEXT('G'):
        case NV_TEXT('a'):
        case NV_TEXT('A'):
            static_cast<void>(va_arg(arguments.list, double));
            return floatBound + precision;
        case NV_TEXT('f'):
            static_cast<void>(va_arg(arguments.list, double));
            return fixedPointBound + precision;
        case NV_TEXT('p'):
            static_cast<void>(va_arg(arguments.list, void*));
            return integerBound;
        case NV_TEXT('n'):
            static_cast<void>(va_arg(arguments.list, void*));
            return 0;
        default:
            return 1;  // an unknown letter stands for itself
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
            FetchStars(conversion, arguments);
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
