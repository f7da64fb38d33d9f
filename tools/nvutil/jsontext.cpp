// JSON text whose strings may hold any UTF-16 code unit, in a form that a JSON library accepts.
#include "nvutil/jsontext.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "nvutil/text.h"
#include "platform/text.h"

namespace {

constexpr std::uint16_t marker = 0xFFFF;
constexpr std::string_view markerInUtf8 = "\xEF\xBF\xBF";
constexpr std::size_t unitDigits = 4;
constexpr std::size_t escapeSize = 2 + unitDigits;  // "\uXXXX"

std::optional<std::uint16_t> UnitOfDigits(std::string_view text) {
    std::uint16_t unit = 0;
    if (text.size() < unitDigits) return std::nullopt;
    const char* const end = text.data() + unitDigits;
    const auto result = std::from_chars(text.data(), end, unit, 16);
    return result.ec == std::errc() && result.ptr == end ? std::optional(unit) : std::nullopt;
}

/// The unit that the text begins with an escape of.
std::optional<std::uint16_t> UnitOfEscape(std::string_view text) {
    return text.starts_with("\\u") ? UnitOfDigits(text.substr(2)) : std::nullopt;
}

bool IsHighSurrogate(std::optional<std::uint16_t> unit) {
    return unit && platform::IsHighSurrogate(*unit);
}

bool IsLowSurrogate(std::optional<std::uint16_t> unit) {
    return unit && platform::IsLowSurrogate(*unit);
}

void AppendMarked(std::string& out, std::uint16_t unit) {
    out += markerInUtf8;
    out += HexNumber(unit, unitDigits);
}

/// Appends the escape that the text begins with and returns its size.
std::size_t AppendEscape(std::string& out, std::string_view text) {
    const auto unit = UnitOfEscape(text);
    std::size_t size = unit ? escapeSize : 2;
    if (IsHighSurrogate(unit) && IsLowSurrogate(UnitOfEscape(text.substr(escapeSize)))) {
        size = 2 * escapeSize;
    } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit) || unit == marker) {
        AppendMarked(out, *unit);
        return size;
    }
    out += text.substr(0, size);
    return size;
}

}  // namespace

std::string EncodeLoneSurrogates(std::string_view json) {
    std::string encoded;
    encoded.reserve(json.size());
    bool isInString = false;
    for (std::size_t i = 0; i < json.size();) {
        const std::string_view rest = json.substr(i);
        if (isInString && rest.front() == '\\') {
            i += AppendEscape(encoded, rest);
        } else if (isInString && rest.starts_with(markerInUtf8)) {
            AppendMarked(encoded, marker);
            i += markerInUtf8.size();
        } else {
            if (rest.front() == '"') isInString = !isInString;
            encoded += rest.front();
            ++i;
        }
    }
    return encoded;
}

CXString DecodeJsonString(std::string_view parsed) {
    CXString text;
    while (!parsed.empty()) {
        const std::size_t plain = parsed.find(markerInUtf8);
        text += FromUtf8(parsed.substr(0, plain));
        if (plain == std::string_view::npos) break;
        parsed.remove_prefix(plain + markerInUtf8.size());
        text += static_cast<WChar>(UnitOfDigits(parsed).value_or(marker));
        parsed.remove_prefix(unitDigits);
    }
    return text;
}
