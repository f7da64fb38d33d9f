// The bounded wide formatter of the Windows C library.
#include "platform/wideformat.h"

#include <cwchar>
#include <string>

#include "platform/formatconversion.h"
#include "platform/text.h"

namespace platform {

namespace {

// The C library would store through the argument of "%n", or end the program. "%.0s" takes an argument too
// and neither reads nor prints anything.
Text WithoutStores(const WChar* format) {
    Text safe;
    while (*format != 0) {
        const WChar* begin = format;
        if (*format++ != L'%') {
            safe += *begin;
        } else if (*format == L'%') {
            ++format;
            safe += L"%%";
        } else if (const auto conversion = ReadFormatConversion(format); conversion.type == L'n') {
            if (conversion.widthIsArgument) safe += L"%.0s";
            if (conversion.precisionIsArgument) safe += L"%.0s";
            safe += L"%.0s";
        } else {
            safe.append(begin, format);
        }
    }
    return safe;
}

bool HasStores(const WChar* format) {
    while ((format = std::wcschr(format, L'%')) != nullptr) {
        ++format;
        if (*format == L'%') {
            ++format;
        } else if (ReadFormatConversion(format).type == L'n') {
            return true;
        }
    }
    return false;
}

}  // namespace

std::size_t FormatWide(WChar* out, std::size_t capacity, const WChar* format, va_list arguments) {
    if (HasStores(format)) return FormatWide(out, capacity, WithoutStores(format).c_str(), arguments);

    // Neither a result that is cut nor a failed conversion is terminated by the C library.
    out[0] = 0;
    out[capacity - 1] = 0;
    const int written = _vsnwprintf(out, capacity - 1, format, arguments);
    if (written >= 0) return static_cast<std::size_t>(written);
    return wcsnlen(out, capacity - 1);
}

}  // namespace platform
