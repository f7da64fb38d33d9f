// Crc32: the 32-bit cyclic redundancy check that stored values are compared and keyed by.
//
// Long runs of bytes are folded, where the processor can do that. What is left, and everything elsewhere, is
// looked up in tables, a word at a time.
#include "utilities/utilitiesdll/crc32.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/crcfolding.h"

namespace {

using Half = std::uint32_t;
using Table = std::array<std::uint32_t, 256>;

constexpr std::size_t wordSize = 2 * sizeof(Half);  // read as two halves, which is faster than as one

static_assert(std::endian::native == std::endian::little, "words are read as they lie in memory");

constexpr Table MakeByteTable() {
    Table table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit)
            value = platform::TimesX(value);
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

}  // namespace

DWORD Crc32::GetCrc(const BYTE* bytes, DWORD length, DWORD seed) {
    auto value = static_cast<std::uint32_t>(seed);
    std::size_t left = length;
    platform::FoldedBytes folded;
    if (const std::size_t count = platform::FoldForCrc(value, bytes, left, folded); count > 0) {
        value = AddByTables(0, folded.data(), folded.size());
        bytes += count;
        left -= count;
    }
    return ~AddByTables(value, bytes, left);
}

DWORD Crc32::GetCrc(const BYTE* bytes, DWORD length) {
    return GetCrc(bytes, length, 0xFFFFFFFF);
}
