// NorvaUtilities: Base64, with tables that take 12 bits at a time one way and a character at a time the
// other.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/utilitiesdll/norvautilities.h"

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr WChar padding = NV_TEXT('=');
constexpr int groupsOfLine = 19;
constexpr int charactersOfLine = 4 * groupsOfLine;

// Encoding

struct CharacterPair {
    WChar characters[2];
};

/// The two characters of each 12 bits.
constexpr auto pairs = [] {
    std::array<CharacterPair, 4096> table{};
    for (std::size_t bits = 0; bits < table.size(); ++bits)
        table[bits] = {{static_cast<WChar>(alphabet[bits >> 6]), static_cast<WChar>(alphabet[bits & 0x3F])}};
    return table;
}();

WChar* PutPair(WChar* out, unsigned bits) {
    std::memcpy(out, &pairs[bits], sizeof(CharacterPair));
    return out + 2;
}

WChar* EncodeGroups(const BYTE* src, int groups, WChar* out) {
    for (; groups > 0; --groups, src += 3) {
        const unsigned bits =
            static_cast<unsigned>(src[0]) << 16 | static_cast<unsigned>(src[1]) << 8 | src[2];
        out = PutPair(out, bits >> 12);
        out = PutPair(out, bits & 0xFFF);
    }
    return out;
}

/// The one or two bytes behind the whole groups.
WChar* EncodeRest(const BYTE* src, int length, WChar* out, bool isPadded) {
    const unsigned second = length == 2 ? src[1] : 0;
    out = PutPair(out, static_cast<unsigned>(src[0] << 4) | second >> 4);
    if (length == 2) *out++ = static_cast<WChar>(alphabet[(second & 0x0F) << 2]);
    for (int filled = length + 1; isPadded && filled < 4; ++filled)
        *out++ = padding;
    return out;
}

// Decoding

/// Stands for a character outside of the alphabet; a flag that survives when the bits of a group are joined.
constexpr std::uint32_t notOfAlphabet = 0x80000000;
constexpr std::size_t asciiLimit = 128;

/// What the characters of ASCII stand for.
constexpr auto sextets = [] {
    std::array<std::uint32_t, asciiLimit> table{};
    table.fill(notOfAlphabet);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        table[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint32_t>(i);
    return table;
}();

/// What they add to the three bytes of a group in each of its four places, the first byte lowest.
constexpr auto placedSextets = [] {
    std::array<std::array<std::uint32_t, asciiLimit>, 4> tables{};
    for (std::size_t place = 0; place < tables.size(); ++place) {
        for (std::size_t c = 0; c < asciiLimit; ++c) {
            const std::uint32_t bits = sextets[c] << (18 - 6 * place);
            tables[place][c] = sextets[c] == notOfAlphabet
                                   ? notOfAlphabet
                                   : bits >> 16 | (bits & 0xFF00) | (bits & 0xFF) << 16;
        }
    }
    return tables;
}();

std::uint32_t SextetOf(WChar character) {
    return character < asciiLimit ? sextets[character] : notOfAlphabet;
}

constexpr std::uint32_t noGroup = 0xFFFFFFFF;

/// Four characters as the three bytes that they stand for, the first lowest, unless one is not of the
/// alphabet. None is read behind a zero, where the text may end.
std::uint32_t GroupAt(const WChar* src) {
    if (src[0] == 0 || src[1] == 0 || src[2] == 0) return noGroup;
    if ((src[0] | src[1] | src[2] | src[3]) >= asciiLimit) return noGroup;
    const std::uint32_t group = placedSextets[0][src[0]] | placedSextets[1][src[1]] |
                                placedSextets[2][src[2]] | placedSextets[3][src[3]];
    return (group & notOfAlphabet) == 0 ? group : noGroup;
}

const WChar* SkipOthers(const WChar* src, const WChar* end) {
    while (src != end && *src != 0 && SextetOf(*src) == notOfAlphabet)
        ++src;
    return src;
}

/// The decoder's place in the caller's buffer. It counts on when nothing more fits.
class DecodedBytes {
public:
    DecodedBytes(BYTE* dest, int capacity)
        : m_dest(dest), m_capacity(dest != nullptr ? std::max(capacity, 0) : 0) {
        m_isComplete = dest != nullptr;
    }

    /// Puts the first bytes of 24 bits. Those of a group are put together or not at all.
    void Put(std::uint32_t bits, int count) {
        if (m_count + count > m_capacity) m_isComplete = false;
        for (int i = 0; m_isComplete && i < count; ++i)
            m_dest[m_count + i] = static_cast<BYTE>(bits >> (16 - 8 * i));
        m_count += count;
    }

    /// Puts whole groups, skipping other characters between them, as long as there is room.
    /// @return where it stopped
    const WChar* PutGroups(const WChar* src, const WChar* end) {
        if (!m_isComplete) return src;
        BYTE* out = m_dest + m_count;
        const BYTE* const outEnd = m_dest + m_capacity;
        for (const WChar* stop = nullptr; src != stop; src = SkipOthers(src, end)) {
            stop = src;
            const BYTE* const last = out + 3 * std::min((end - src) / 4, (outEnd - out) / 3);
            for (; out != last; out += 3, src += 4) {
                const std::uint32_t group = GroupAt(src);
                if (group == noGroup) break;
                std::memcpy(out, &group, 3);
            }
        }
        m_count = out - m_dest;
        return src;
    }

    bool IsComplete() const { return m_isComplete; }
    int GetCount() const { return static_cast<int>(m_count); }

private:
    BYTE* m_dest;
    std::int64_t m_capacity;
    std::int64_t m_count = 0;
    bool m_isComplete;
};

/// Takes up to four characters of the alphabet, skipping others, and puts what they stand for.
/// @return whether there may be more
bool DecodeWithSkipping(const WChar*& src, const WChar* end, DecodedBytes& out) {
    std::uint32_t bits = 0;
    int characters = 0;
    for (; characters < 4 && src != end && *src != 0; ++src) {
        const std::uint32_t sextet = SextetOf(*src);
        if (sextet == notOfAlphabet) continue;
        bits = bits << 6 | sextet;
        ++characters;
    }
    out.Put(bits << (6 * (4 - characters)), characters * 6 / 8);
    return characters == 4;
}

}  // namespace

namespace NorvaUtilities {

int Base64EncodeGetRequiredLength(int srcLength, DWORD flags) {
    if (srcLength < 0) return 0;
    const std::int64_t quadrupled = std::int64_t{srcLength} * 4;
    if (quadrupled > 0x7FFFFFFF) {
        NV_THROW(ExceptionInvalidArgument, "NorvaUtilities::Base64EncodeGetRequiredLength", __LINE__,
                 NV_TEXT("%d bytes are too many"), srcLength);
    }
    int length = static_cast<int>(quadrupled / 3);
    // The remainder is counted in bytes, not in the characters that it becomes: deliberate, and still enough.
    if ((flags & Base64NoPadding) == 0) length += srcLength % 3;
    const int lines = length / charactersOfLine + 1;
    const int onLastLine = length % charactersOfLine;
    if (onLastLine % 4 != 0) length += 4 - onLastLine % 4;
    return (flags & Base64NoLineBreaks) != 0 ? length : length + 2 * lines;
}

int Base64Encode(const BYTE* src, int srcLength, WChar* dest, int* destLength, DWORD flags) {
    if (src == nullptr || dest == nullptr || destLength == nullptr || srcLength < 0) return 0;
    if (*destLength < Base64EncodeGetRequiredLength(srcLength, flags)) return 0;
    WChar* out = dest;
    int groups = srcLength / 3;
    // A line that is exactly full is broken although nothing may follow: deliberate.
    for (; groups >= groupsOfLine; groups -= groupsOfLine) {
        out = EncodeGroups(src, groupsOfLine, out);
        src += 3 * groupsOfLine;
        if ((flags & Base64NoLineBreaks) != 0) continue;
        *out++ = NV_TEXT('\r');
        *out++ = NV_TEXT('\n');
    }
    out = EncodeGroups(src, groups, out);
    src += 3 * groups;
    if (srcLength % 3 != 0) out = EncodeRest(src, srcLength % 3, out, (flags & Base64NoPadding) == 0);
    *destLength = static_cast<int>(out - dest);
    return 1;
}

int Base64DecodeGetRequiredLength(int srcLength) {
    return srcLength;
}

int Base64Decode(const WChar* src, int srcLength, BYTE* dest, int* destLength) {
    if (src == nullptr || destLength == nullptr) return 0;
    const WChar* const end = src + (srcLength > 0 ? srcLength : 0);
    DecodedBytes out(dest, *destLength);
    do {
        src = out.PutGroups(src, end);
    } while (DecodeWithSkipping(src, end, out));
    *destLength = out.GetCount();
    return out.IsComplete() ? 1 : 0;
}

}  // namespace NorvaUtilities
