// UTF-8, character by character and as whole texts.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/internalapi.h"
#include "platform/text.h"
#include "platform/types.h"

namespace platform {

constexpr bool IsScalarValue(char32_t character) {
    return character <= 0x10FFFF && !IsHighSurrogate(character) && !IsLowSurrogate(character);
}

/// Reads the character that bytes begin with.
/// @param size  of what may be looked at, in bytes; not 0
/// @return the number of its bytes; 0 when no well-formed character begins there
constexpr std::size_t DecodeUtf8(const char* bytes, std::size_t size, char32_t& character) {
    const auto byteAt = [bytes](int i) { return char32_t{static_cast<unsigned char>(bytes[i])}; };
    const auto isTrail = [&byteAt](int i) { return (byteAt(i) & 0xC0) == 0x80; };
    const char32_t lead = byteAt(0);
    if (lead < 0x80) {
        character = lead;
        return 1;
    }
    if (size >= 2 && lead >= 0xC2 && lead < 0xE0 && isTrail(1)) {
        character = (lead & 0x1F) << 6 | (byteAt(1) & 0x3F);
        return 2;
    }
    if (size >= 3 && lead >= 0xE0 && lead < 0xF0 && isTrail(1) && isTrail(2)) {
        character = (lead & 0x0F) << 12 | (byteAt(1) & 0x3F) << 6 | (byteAt(2) & 0x3F);
        return character >= 0x800 && IsScalarValue(character) ? 3 : 0;
    }
    if (size >= 4 && lead >= 0xF0 && lead < 0xF5 && isTrail(1) && isTrail(2) && isTrail(3)) {
        character =
            (lead & 0x07) << 18 | (byteAt(1) & 0x3F) << 12 | (byteAt(2) & 0x3F) << 6 | (byteAt(3) & 0x3F);
        return character >= 0x10000 && IsScalarValue(character) ? 4 : 0;
    }
    return 0;
}

/// Gives the bytes of a character to a function, one by one.
template <class Put>
constexpr void EncodeUtf8(char32_t character, Put put) {
    const auto putTrail = [&](int shift) { put(static_cast<char>(0x80 | ((character >> shift) & 0x3F))); };
    if (character < 0x80) {
        put(static_cast<char>(character));
    } else if (character < 0x800) {
        put(static_cast<char>(0xC0 | character >> 6));
        putTrail(0);
    } else if (character < 0x10000) {
        put(static_cast<char>(0xE0 | character >> 12));
        putTrail(6);
        putTrail(0);
    } else {
        put(static_cast<char>(0xF0 | character >> 18));
        putTrail(12);
        putTrail(6);
        putTrail(0);
    }
}

/// Converts a text, of which no more than INT_MAX units are taken. What is no character becomes U+FFFD in
/// either direction.
NVUTIL_INTERNAL_API std::string Utf8Of(std::basic_string_view<WChar> text);
NVUTIL_INTERNAL_API Text TextOfUtf8(std::string_view utf8);

}  // namespace platform
