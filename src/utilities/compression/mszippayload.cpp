// MszipPayloadFillsBlock: deflate data decoded symbol by symbol, with only its lengths added up.
#include "utilities/compression/mszippayload.h"

#include <algorithm>
#include <array>
#include <cstdint>

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

    unsigned Take(unsigned count) {
        unsigned value = 0;
        for (unsigned bit = 0; bit < count; ++bit, ++m_position) {
            if (m_position / 8 >= m_bytes.size()) {
                m_exhausted = true;
                return 0;
            }
            value |= static_cast<unsigned>(m_bytes[m_position / 8] >> m_position % 8 & 1) << bit;
        }
        return value;
    }

    void SkipToByte() { m_position = (m_position + 7) / 8 * 8; }

    void SkipBytes(std::size_t count) {
        m_exhausted = m_exhausted || count > m_bytes.size() - std::min(m_bytes.size(), m_position / 8);
        m_position += count * 8;
    }

    bool IsExhausted() const { return m_exhausted; }

private:
    std::span<const BYTE> m_bytes;
    std::size_t m_position = 0;  ///< In bits.
    bool m_exhausted = false;
};

/// A prefix code: how many codes there are of each length, and their symbols in order.
class PrefixCode {
public:
    static constexpr unsigned noSymbol = 0xFFFF;

    /// @return whether the lengths make a complete code, no code at all or, when allowed, the code "0" alone
    bool Build(std::span<const std::uint8_t> codeLengths, bool mayBeSingle = true) {
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
        return unused == 0 || used == 0 || (mayBeSingle && used == 1 && m_counts[1] == 1);
    }

    unsigned Decode(BitReader& bits) const {
        unsigned code = 0;
        unsigned first = 0;
        unsigned index = 0;
        for (unsigned length = 1; length <= longestCode; ++length) {
            code = code << 1 | bits.Take(1);
            const unsigned count = m_counts[length];
            if (code < first + count) return m_symbols[index + code - first];
            index += count;
            first = (first + count) << 1;
        }
        return noSymbol;
    }

private:
    std::array<std::uint16_t, longestCode + 1> m_counts{};
    std::array<std::uint16_t, 288> m_symbols{};
};

class DeflateWalker {
public:
    DeflateWalker(std::span<const BYTE> data, std::size_t history, std::size_t size)
        : m_bits(data), m_history(history), m_size(size) {}

    bool Walk() {
        for (bool last = false; !last;) {
            last = m_bits.Take(1) != 0;
            const unsigned type = m_bits.Take(2);
            const bool sound = type == 0   ? WalkStored()
                               : type == 1 ? BuildFixedCodes() && WalkCompressed()
                               : type == 2 ? ReadCodes() && WalkCompressed()
                                           : false;
            if (!sound || m_bits.IsExhausted()) return false;
        }
        return m_produced == m_size;
    }

private:
    bool Produce(std::size_t count) {
        m_produced += count;
        return m_produced <= m_size && !m_bits.IsExhausted();
    }

    bool WalkStored() {
        m_bits.SkipToByte();
        const unsigned length = m_bits.Take(16);
        const unsigned complement = m_bits.Take(16);
        m_bits.SkipBytes(length);
        return (length ^ complement) == 0xFFFF && Produce(length);
    }

    bool BuildFixedCodes() {
        std::array<std::uint8_t, 288> literalLengths;
        std::fill_n(literalLengths.begin(), 144, std::uint8_t{8});
        std::fill(literalLengths.begin() + 144, literalLengths.begin() + 256, std::uint8_t{9});
        std::fill(literalLengths.begin() + 256, literalLengths.begin() + 280, std::uint8_t{7});
        std::fill(literalLengths.begin() + 280, literalLengths.end(), std::uint8_t{8});
        std::array<std::uint8_t, 32> distanceLengths;
        distanceLengths.fill(5);
        return m_literals.Build(literalLengths) && m_distances.Build(distanceLengths);
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
        return code.Build(codeLengths, false) && ReadLengths(code, both) && both[endOfBlock] != 0 &&
               m_literals.Build(both.first(literalCount)) && m_distances.Build(both.subspan(literalCount));
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

    bool WalkCompressed() {
        for (;;) {
            const unsigned symbol = m_literals.Decode(m_bits);
            if (symbol == endOfBlock) return true;
            if (!(symbol < endOfBlock ? Produce(1) : WalkMatch(symbol - endOfBlock - 1))) return false;
        }
    }

    bool WalkMatch(unsigned lengthSymbol) {
        if (lengthSymbol >= lengths.size()) return false;
        const unsigned length = lengths[lengthSymbol].base + m_bits.Take(lengths[lengthSymbol].extraBits);
        const unsigned distanceSymbol = m_distances.Decode(m_bits);
        if (distanceSymbol >= distances.size()) return false;
        const Range& range = distances[distanceSymbol];
        return range.base + m_bits.Take(range.extraBits) <= m_history + m_produced && Produce(length);
    }

    BitReader m_bits;
    std::size_t m_history;
    std::size_t m_size;
    std::size_t m_produced = 0;
    PrefixCode m_literals;
    PrefixCode m_distances;
};

}  // namespace

bool MszipPayloadFillsBlock(std::span<const BYTE> payload, std::size_t history, std::size_t size) {
    return DeflateWalker(payload, history, size).Walk();
}
