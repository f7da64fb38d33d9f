// Crc32: the 32-bit cyclic redundancy check that stored values are compared and keyed by.
//
// One table look-up a byte, but not one after another: the bytes are dealt out, a word at a time, to several
// registers that do not wait for each other. Each register runs ahead over the words of the others as if
// those were zeros; since the check is linear, the registers of the last block are joined by adding them to
// its words.
#include "utilities/utilitiesdll/crc32.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

using Half = std::uint32_t;
using Table = std::array<std::uint32_t, 256>;

// As many as have room in a processor's registers, with words that are read as two halves.
constexpr std::size_t wordSize = 2 * sizeof(Half);
constexpr std::size_t registerCount = 4;
constexpr std::size_t blockSize = registerCount * wordSize;

static_assert(std::endian::native == std::endian::little, "words are read as they lie in memory");

constexpr Table MakeByteTable() {
    constexpr std::uint32_t reflectedPolynomial = 0xEDB88320;
    Table table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit)
            value = (value >> 1) ^ ((value & 1) != 0 ? reflectedPolynomial : 0);
        table[byte] = value;
    }
    return table;
}

constexpr Table byteTable = MakeByteTable();
static_assert(byteTable[1] == 0x77073096);

constexpr std::uint32_t AddByte(std::uint32_t value, std::uint32_t byte) {
    return byteTable[(value ^ byte) & 0xFF] ^ (value >> 8);
}

/// One table for each byte of a word: what the byte leaves in a register `distance` bytes after the word
/// began.
using WordTables = std::array<Table, wordSize>;

constexpr WordTables MakeWordTables(std::size_t distance) {
    WordTables tables{};
    for (std::uint32_t byte = 0; byte < byteTable.size(); ++byte) {
        std::uint32_t value = byteTable[byte];
        for (std::size_t passed = 1; passed <= distance; ++passed) {
            if (distance - passed < wordSize) tables[distance - passed][byte] = value;
            value = AddByte(value, 0);
        }
    }
    return tables;
}

constexpr WordTables wordTables = MakeWordTables(wordSize);
constexpr WordTables blockTables = MakeWordTables(blockSize);

/// Reads a half of a word and looks up its bytes, the register added.
std::uint32_t LookUpHalf(const Table* tables, const BYTE* bytes, std::uint32_t value) {
    Half half;
    std::memcpy(&half, bytes, sizeof(half));
    half ^= value;
    return tables[0][half & 0xFF] ^ tables[1][half >> 8 & 0xFF] ^ tables[2][half >> 16 & 0xFF] ^
           tables[3][half >> 24];
}

/// The register behind a word, as far as the tables run ahead.
std::uint32_t AddWord(const WordTables& tables, const BYTE* bytes, std::uint32_t value) {
    return LookUpHalf(tables.data(), bytes, value) ^
           LookUpHalf(tables.data() + sizeof(Half), bytes + sizeof(Half), 0);
}

/// Adds whole blocks, at least one.
std::uint32_t AddBlocks(std::uint32_t value, const BYTE* bytes, std::size_t blockCount) {
    std::array<std::uint32_t, registerCount> registers{value};
    for (; blockCount > 1; --blockCount, bytes += blockSize) {
        for (std::size_t i = 0; i < registerCount; ++i)
            registers[i] = AddWord(blockTables, bytes + i * wordSize, registers[i]);
    }
    value = 0;
    for (std::size_t i = 0; i < registerCount; ++i)
        value = AddWord(wordTables, bytes + i * wordSize, registers[i] ^ value);
    return value;
}

}  // namespace

DWORD Crc32::GetCrc(const BYTE* bytes, DWORD length, DWORD seed) {
    auto value = static_cast<std::uint32_t>(seed);
    std::size_t left = length;
    if (const std::size_t blockCount = left / blockSize; blockCount > 0) {
        value = AddBlocks(value, bytes, blockCount);
        bytes += blockCount * blockSize;
        left -= blockCount * blockSize;
    }
    for (; left >= wordSize; left -= wordSize, bytes += wordSize)
        value = AddWord(wordTables, bytes, value);
    for (; left > 0; --left)
        value = AddByte(value, *bytes++);
    return ~value;
}

DWORD Crc32::GetCrc(const BYTE* bytes, DWORD length) {
    return GetCrc(bytes, length, 0xFFFFFFFF);
}
