// Crc32: the 32-bit cyclic redundancy check that stored values are compared and keyed by.
//
// Long runs of bytes are folded: the check is the remainder of a division of polynomials, and stays the same
// when the first bytes are taken away and a multiple of them is added further on. What is left in the end,
// and everything on a processor that does not multiply so, is looked up in tables, a word at a time.
#include "utilities/utilitiesdll/crc32.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace {

using Half = std::uint32_t;
using Table = std::array<std::uint32_t, 256>;

constexpr std::size_t wordSize = 2 * sizeof(Half);  // read as two halves, which is faster than as one

static_assert(std::endian::native == std::endian::little, "words are read as they lie in memory");

/// A polynomial times x. The highest power is the lowest bit.
constexpr std::uint32_t TimesX(std::uint32_t value) {
    constexpr std::uint32_t reflectedPolynomial = 0xEDB88320;
    return (value >> 1) ^ ((value & 1) != 0 ? reflectedPolynomial : 0);
}

constexpr Table MakeByteTable() {
    Table table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit)
            value = TimesX(value);
        table[byte] = value;
    }
    return table;
}

constexpr Table byteTable = MakeByteTable();
static_assert(byteTable[1] == 0x77073096);

constexpr std::uint32_t AddByte(std::uint32_t value, std::uint32_t byte) {
    return byteTable[(value ^ byte) & 0xFF] ^ (value >> 8);
}

/// One table for each byte of a word: what the byte leaves in the register behind the word.
constexpr std::array<Table, wordSize> wordTables = [] {
    std::array<Table, wordSize> tables{};
    for (std::uint32_t byte = 0; byte < byteTable.size(); ++byte) {
        std::uint32_t value = byteTable[byte];
        for (std::size_t place = wordSize; place-- > 0;) {
            tables[place][byte] = value;
            value = AddByte(value, 0);
        }
    }
    return tables;
}();

/// Reads a half of a word and looks up its bytes, the register added.
std::uint32_t LookUpHalf(const Table* tables, const BYTE* bytes, std::uint32_t value) {
    Half half;
    std::memcpy(&half, bytes, sizeof(half));
    half ^= value;
    return tables[0][half & 0xFF] ^ tables[1][half >> 8 & 0xFF] ^ tables[2][half >> 16 & 0xFF] ^
           tables[3][half >> 24];
}

std::uint32_t AddWord(std::uint32_t value, const BYTE* bytes) {
    return LookUpHalf(wordTables.data(), bytes, value) ^
           LookUpHalf(wordTables.data() + sizeof(Half), bytes + sizeof(Half), 0);
}

std::uint32_t AddByTables(std::uint32_t value, const BYTE* bytes, std::size_t length) {
    for (; length >= wordSize; length -= wordSize, bytes += wordSize)
        value = AddWord(value, bytes);
    for (; length > 0; --length)
        value = AddByte(value, *bytes++);
    return value;
}

#ifdef __x86_64__

constexpr std::size_t laneSize = sizeof(__m128i);
constexpr std::size_t laneCount = 4;  // that do not wait for each other
constexpr std::size_t blockSize = laneCount * laneSize;

/// What half a lane is multiplied by to be added so many bits further on: that power of x, doubled, since a
/// product of polynomials whose highest power is the lowest bit lies one bit too low.
constexpr long long FactorFor(unsigned bits) {
    std::uint32_t power = 0x80000000;  // x to the power of 0
    for (; bits > 0; --bits)
        power = TimesX(power);
    return static_cast<long long>(power) << 1;
}

static_assert(FactorFor(544) == 0x154442BD4 && FactorFor(96) == 0x0CCAA009E);

__m128i LaneAt(const BYTE* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

/// The factors for a distance in bytes between lanes. The first half of a lane has further to go.
template <std::size_t distance>
__m128i FactorsOver() {
    constexpr auto bits = static_cast<unsigned>(8 * distance);
    constexpr long long first = FactorFor(bits + 32);
    constexpr long long second = FactorFor(bits - 32);
    return _mm_set_epi64x(second, first);
}

/// Adds a lane to the bytes of one further on.
[[gnu::target("pclmul")]] __m128i Fold(__m128i lane, __m128i factors, __m128i bytes) {
    const __m128i first = _mm_clmulepi64_si128(lane, factors, 0x00);
    const __m128i second = _mm_clmulepi64_si128(lane, factors, 0x11);
    return _mm_xor_si128(_mm_xor_si128(first, second), bytes);
}

/// Adds whole blocks, at least one.
[[gnu::target("pclmul")]] std::uint32_t AddBlocks(std::uint32_t value, const BYTE* bytes,
                                                  std::size_t length) {
    const __m128i overBlock = FactorsOver<blockSize>();
    const __m128i overLane = FactorsOver<laneSize>();
    __m128i lanes[laneCount];
    for (std::size_t i = 0; i < laneCount; ++i)
        lanes[i] = LaneAt(bytes + i * laneSize);
    lanes[0] = _mm_xor_si128(lanes[0], _mm_cvtsi32_si128(static_cast<int>(value)));
    for (std::size_t at = blockSize; at < length; at += blockSize) {
        for (std::size_t i = 0; i < laneCount; ++i)
            lanes[i] = Fold(lanes[i], overBlock, LaneAt(bytes + at + i * laneSize));
    }
    __m128i joined = lanes[0];
    for (std::size_t i = 1; i < laneCount; ++i)
        joined = Fold(joined, overLane, lanes[i]);
    std::array<BYTE, laneSize> rest;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rest.data()), joined);
    return AddByTables(0, rest.data(), rest.size());
}

bool CanFold() {
    static const bool canFold = __builtin_cpu_supports("pclmul") != 0;
    return canFold;
}

#endif

}  // namespace

DWORD Crc32::GetCrc(const BYTE* bytes, DWORD length, DWORD seed) {
    auto value = static_cast<std::uint32_t>(seed);
    std::size_t left = length;
#ifdef __x86_64__
    if (const std::size_t whole = left - left % blockSize; whole > 0 && CanFold()) {
        value = AddBlocks(value, bytes, whole);
        bytes += whole;
        left -= whole;
    }
#endif
    return ~AddByTables(value, bytes, left);
}

DWORD Crc32::GetCrc(const BYTE* bytes, DWORD length) {
    return GetCrc(bytes, length, 0xFFFFFFFF);
}
