// WalkDeflate: deflate data decoded symbol by symbol, with only its lengths added up.
#include "platform/deflate.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include "platform/fork.h"

namespace platform {

namespace {

constexpr unsigned longestCode = 15;
constexpr unsigned largestLiteralCount = 286;
constexpr unsigned largestDistanceCount = 30;
constexpr unsigned endOfBlock = 256;

struct Range {
    std::uint16_t base;
    std::uint8_t extraBits;
};

constexpr std::array<Range, 29> lengths{
    {{3, 0},  {4, 0},  {5, 0},  {6, 0},   {7, 0},   {8, 0},   {9, 0},   {10, 0},  {11, 1}, {13, 1},
     {15, 1}, {17, 1}, {19, 2}, {23, 2},  {27, 2},  {31, 2},  {35, 3},  {43, 3},  {51, 3}, {59, 3},
     {67, 4}, {83, 4}, {99, 4}, {115, 4}, {131, 5}, {163, 5}, {195, 5}, {227, 5}, {258, 0}}};

constexpr std::array<Range, 30> distances{
    {{1, 0},     {2, 0},     {3, 0},     {4, 0},      {5, 1},      {7, 1},     {9, 2},     {13, 2},
     {17, 3},    {25, 3},    {33, 4},    {49, 4},     {65, 5},     {97, 5},    {129, 6},   {193, 6},
     {257, 7},   {385, 7},   {513, 8},   {769, 8},    {1025, 9},   {1537, 9},  {2049, 10}, {3073, 10},
     {4097, 11}, {6145, 11}, {8193, 12}, {12289, 12}, {16385, 13}, {24577, 13}}};

/// In which order a block stores the lengths of the codes for its code lengths.
constexpr std::array<std::uint8_t, 19> codeLengthOrder{16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                       11, 4,  12, 3, 13, 2, 14, 1, 15};

/// Reads bits from the lowest on. Behind the end it gives zeros and remembers that it did.
class BitReader {
public:
    explicit BitReader(std::span<const BYTE> bytes) : m_bytes(bytes) {}

    /// The next bits, which stay; at most longestCode.
    unsigned Peek(unsigned count) {
        if (m_held < count) Fill();
        return static_cast<unsigned>(m_bits & ((std::uint64_t{1} << count) - 1));
    }

    /// Passes over bits that have been peeked at.
    void Skip(unsigned count) {
        m_bits >>= count;
        m_held -= count;
    }

    /// At most 16 bits.
    unsigned Take(unsigned count) {
        const unsigned value = Peek(count);
        Skip(count);
        return value;
    }

    void SkipToByte() { Skip(m_held % 8); }

    /// From the start of a byte.
    void SkipBytes(std::size_t count) {
        m_next += count - m_held / 8;  // goes back by what is held already
        m_bits = 0;
        m_held = 0;
    }

    bool IsExhausted() const { return m_next - m_held / 8 > m_bytes.size(); }

private:
    void Fill() {
        constexpr unsigned count = 6;  // which fit behind the fewer than 16 bits that are held
        const bool hasAll = m_next < m_bytes.size() && m_bytes.size() - m_next >= count;
        for (unsigned i = 0; i < count; ++i) {
            const BYTE byte = hasAll || m_next + i < m_bytes.size() ? m_bytes[m_next + i] : BYTE{0};
            m_bits |= std::uint64_t{byte} << (m_held + 8 * i);
        }
        m_held += 8 * count;
        m_next += count;
    }

    std::span<const BYTE> m_bytes;
    std::size_t m_next = 0;  ///< The byte behind those held.
    std::uint64_t m_bits = 0;
    unsigned m_held = 0;  ///< In bits.
};

/// A prefix code.
class PrefixCode {
public:
    static constexpr unsigned noSymbol = 0xFFFF;

    /// @return whether the lengths make a complete code, no code at all or the code "0" alone
    bool Build(std::span<const std::uint8_t> codeLengths) {
        m_counts = {};
        for (const std::uint8_t length : codeLengths)
            ++m_counts[length];
        const unsigned used = static_cast<unsigned>(codeLengths.size()) - m_counts[0];
        m_counts[0] = 0;

        int unused = 1;
        std::array<std::uint16_t, longestCode + 2> next{};
        for (unsigned length = 1; length <= longestCode; ++length) {
            unused = unused * 2 - m_counts[length];
            if (unused < 0) return false;
            next[length + 1] = static_cast<std::uint16_t>(next[length] + m_counts[length]);
        }
        for (std::size_t symbol = 0; symbol < codeLengths.size(); ++symbol) {
            if (codeLengths[symbol] != 0)
                m_symbols[next[codeLengths[symbol]]++] = static_cast<std::uint16_t>(symbol);
        }
        FillShortCodes();
        m_isComplete = unused == 0;
        return m_isComplete || used == 0 || (used == 1 && m_counts[1] == 1);
    }

    bool IsComplete() const { return m_isComplete; }

    unsigned Decode(BitReader& bits) const {
        const unsigned next = bits.Peek(longestCode);
        const unsigned found = m_short[next % m_short.size()];
        if (found == 0) return DecodeLong(bits, next);
        bits.Skip(found % symbolUnit);
        return found / symbolUnit;
    }

private:
    static constexpr unsigned longestShortCode = 9;
    static constexpr unsigned symbolUnit = longestCode + 1;

    void FillShortCodes() {
        m_short = {};
        unsigned code = 0;
        unsigned index = 0;
        for (unsigned length = 1; length <= longestShortCode; ++length, code <<= 1) {
            for (unsigned end = index + m_counts[length]; index < end; ++index, ++code) {
                const auto entry = static_cast<std::uint16_t>(m_symbols[index] * symbolUnit + length);
                for (unsigned place = Reversed(code, length); place < m_short.size(); place += 1U << length)
                    m_short[place] = entry;
            }
        }
    }

    /// The first bit of a code is its highest, but the lowest of the bits that are looked up.
    static unsigned Reversed(unsigned code, unsigned length) {
        unsigned reversed = 0;
        for (unsigned bit = 0; bit < length; ++bit)
            reversed |= (code >> bit & 1) << (length - 1 - bit);
        return reversed;
    }

    /// Any code, bit by bit.
    unsigned DecodeLong(BitReader& bits, unsigned next) const {
        unsigned code = 0;
        unsigned first = 0;
        unsigned index = 0;
        for (unsigned length = 1; length <= longestCode; ++length, next >>= 1) {
            code = code << 1 | (next & 1);
            const unsigned count = m_counts[length];
            if (code < first + count) {
                bits.Skip(length);
                return m_symbols[index + code - first];
            }
            index += count;
            first = (first + count) << 1;
        }
        bits.Skip(longestCode);
        return noSymbol;
    }

    bool m_isComplete = false;
    std::array<std::uint16_t, longestCode + 1> m_counts{};
    std::array<std::uint16_t, 288> m_symbols{};  ///< In the order of their codes.
    /// By the next bits: the symbol times symbolUnit and the length of its code; 0 when the code is longer.
    std::array<std::uint16_t, 1U << longestShortCode> m_short{};
};

/// The two codes of a compressed block.
struct BlockCodes {
    PrefixCode literals;
    PrefixCode distances;

    bool Build(std::span<const std::uint8_t> literalLengths, std::span<const std::uint8_t> distanceLengths) {
        return literals.Build(literalLengths) && distances.Build(distanceLengths);
    }
    bool AreComplete() const { return literals.IsComplete() && distances.IsComplete(); }
};

/// Those of the blocks that bring none along.
const BlockCodes& FixedCodes() {
    static const BlockCodes codes = [] {
        std::array<std::uint8_t, 288> literalLengths;
        std::fill_n(literalLengths.begin(), 144, std::uint8_t{8});
        std::fill(literalLengths.begin() + 144, literalLengths.begin() + 256, std::uint8_t{9});
        std::fill(literalLengths.begin() + 256, literalLengths.begin() + 280, std::uint8_t{7});
        std::fill(literalLengths.begin() + 280, literalLengths.end(), std::uint8_t{8});
        std::array<std::uint8_t, 32> distanceLengths;
        distanceLengths.fill(5);
        BlockCodes fixed;
        fixed.Build(literalLengths, distanceLengths);
        return fixed;
    }();
    return codes;
}

[[maybe_unused]] const bool isMadeBeforeForks = MakeBeforeForks([] { FixedCodes(); });

class DeflateWalker {
public:
    DeflateWalker(std::span<const BYTE> data, std::size_t history, std::size_t largestSize)
        : m_bits(data), m_history(history), m_largestSize(largestSize) {}

    std::optional<DeflateShape> Walk() {
        for (bool last = false; !last;) {
            last = m_bits.Take(1) != 0;
            const unsigned type = m_bits.Take(2);
            const bool sound = type == 0   ? WalkStored()
                               : type == 1 ? WalkCompressed(FixedCodes())
                               : type == 2 ? ReadCodes() && WalkCompressed(m_codes)
                                           : false;
            if (!sound || m_bits.IsExhausted()) return std::nullopt;
        }
        return m_found;
    }

private:
    bool Produce(std::size_t count) {
        m_found.size += count;
        return m_found.size <= m_largestSize && !m_bits.IsExhausted();
    }

    bool WalkStored() {
        m_bits.SkipToByte();
        const unsigned length = m_bits.Take(16);
        const unsigned complement = m_bits.Take(16);
        m_bits.SkipBytes(length);
        return (length ^ complement) == 0xFFFF && Produce(length);
    }

    bool ReadCodes() {
        const unsigned literalCount = m_bits.Take(5) + 257;
        const unsigned distanceCount = m_bits.Take(5) + 1;
        const unsigned codeLengthCount = m_bits.Take(4) + 4;
        if (literalCount > largestLiteralCount || distanceCount > largestDistanceCount) return false;
        std::array<std::uint8_t, 19> codeLengths{};
        for (unsigned i = 0; i < codeLengthCount; ++i)
            codeLengths[codeLengthOrder[i]] = static_cast<std::uint8_t>(m_bits.Take(3));
        PrefixCode code;
        std::array<std::uint8_t, largestLiteralCount + largestDistanceCount> all{};
        const std::span<std::uint8_t> both = std::span(all).first(literalCount + distanceCount);
        const bool sound = code.Build(codeLengths) && code.IsComplete() && ReadLengths(code, both) &&
                           both[endOfBlock] != 0 &&
                           m_codes.Build(both.first(literalCount), both.subspan(literalCount));
        m_found.hasCompleteCodes = m_found.hasCompleteCodes && m_codes.AreComplete();
        return sound;
    }

    bool ReadLengths(const PrefixCode& code, std::span<std::uint8_t> out) {
        for (std::size_t filled = 0; filled < out.size();) {
            const unsigned symbol = code.Decode(m_bits);
            if (symbol > 18 || m_bits.IsExhausted()) return false;
            if (symbol < 16) {
                out[filled++] = static_cast<std::uint8_t>(symbol);
                continue;
            }
            if (symbol == 16 && filled == 0) return false;
            const std::uint8_t repeated = symbol == 16 ? out[filled - 1] : std::uint8_t{0};
            const unsigned count = symbol == 16   ? 3 + m_bits.Take(2)
                                   : symbol == 17 ? 3 + m_bits.Take(3)
                                                  : 11 + m_bits.Take(7);
            if (count > out.size() - filled) return false;
            std::fill_n(out.begin() + static_cast<std::ptrdiff_t>(filled), count, repeated);
            filled += count;
        }
        return true;
    }

    bool WalkCompressed(const BlockCodes& codes) {
        for (;;) {
            const unsigned symbol = codes.literals.Decode(m_bits);
            if (symbol == endOfBlock) return true;
            if (!(symbol < endOfBlock ? Produce(1) : WalkMatch(codes, symbol - endOfBlock - 1))) return false;
        }
    }

    bool WalkMatch(const BlockCodes& codes, unsigned lengthSymbol) {
        if (lengthSymbol >= lengths.size()) return false;
        const unsigned length = lengths[lengthSymbol].base + m_bits.Take(lengths[lengthSymbol].extraBits);
        const unsigned distanceSymbol = codes.distances.Decode(m_bits);
        if (distanceSymbol >= distances.size()) return false;
        const Range& range = distances[distanceSymbol];
        return range.base + m_bits.Take(range.extraBits) <= m_history + m_found.size && Produce(length);
    }

    BitReader m_bits;
    std::size_t m_history;
    std::size_t m_largestSize;
    DeflateShape m_found;
    BlockCodes m_codes;  ///< Of the block that brings its own.
};

}  // namespace

std::optional<DeflateShape> WalkDeflate(std::span<const BYTE> data, std::size_t history,
                                        std::size_t largestSize) {
    return DeflateWalker(data, history, largestSize).Walk();
}

}  // namespace platform
