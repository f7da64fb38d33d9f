// ByteBuffer: the library's byte array and the one place that fixes its binary conventions.
//
// All integers are little-endian. Strings are UTF-16LE code units. Nothing is padded or aligned.
//
//   Byte, Bool            1 byte; a bool is written as 0 or 1 and any other byte reads as true
//   Short, Word           2 bytes, signed and unsigned
//   Int, Long             4 bytes, signed
//   Time64                8 bytes, signed
//   Counted string        a Short n, then n code units, no terminator
//   Counted bytes         an Int n, then n bytes
//   Stream block          a Word n, then n bytes
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "platform/types.h"
#include "utilities/utilitiesdll/cxstring.h"

/// A growable array of bytes, with the whole interface of the standard vector.
///
/// Walks read from memory through a cursor: a reference to the pointer to the next unread byte and a
/// reference to the number of bytes that are left. Each advances both by what it consumed.
class NVUTIL_API ByteBuffer : public std::vector<BYTE> {
public:
    using std::vector<BYTE>::vector;

    ByteBuffer() = default;
    ByteBuffer(const ByteBuffer&) = default;
    ByteBuffer(ByteBuffer&&) noexcept = default;
    ByteBuffer& operator=(const ByteBuffer&) = default;
    ByteBuffer& operator=(ByteBuffer&&) noexcept = default;
    ~ByteBuffer() = default;
    /// A copy of `length` bytes.
    ByteBuffer(const BYTE* bytes, DWORD length);
    /// `count` bytes of one value. It stands beside the vector's own for a literal 0 as the count, which
    /// could as well be a null pointer; in front of a DWORD it is one.
    template <std::integral Count, std::integral Value>
    requires(!std::same_as<Value, DWORD>) ByteBuffer(Count count, Value value)
        : std::vector<BYTE>(static_cast<size_type>(count), static_cast<BYTE>(value)) {}
    /// The string's code units, without a terminator.
    explicit ByteBuffer(const CXString& text);

    static ByteBuffer createFromByteValue(BYTE value);
    static ByteBuffer createFromBoolValue(bool value);
    static ByteBuffer createFromShortValue(short value);
    static ByteBuffer createFromWordValue(WORD value);
    static ByteBuffer createFromIntValue(int value);
    static ByteBuffer createFromLongValue(LONG value);
    static ByteBuffer createFromTime64Value(const std::int64_t& value);
    /// The counted form of a string; its count is the length cut to 16 bits.
    static ByteBuffer createCountedStringFormatFromString(const CXString& text);
    static ByteBuffer createCountedBytesFormat(const ByteBuffer& bytes);
    /// The bytes of a hexadecimal text; empty, without any report, when the text is not valid.
    static ByteBuffer createFromHexBinaryString(const CXString& text);

    ByteBuffer& append(const ByteBuffer& bytes);
    /// Appends the code units, without a terminator.
    ByteBuffer& append(const CXString& text);
    /// Appends `length` bytes, which must not lie in this buffer.
    ByteBuffer& appendLpbyte(const BYTE* bytes, DWORD length);
    /// Replaces everything by `length` bytes, which must not lie in this buffer.
    ByteBuffer& setWithLpbyte(const BYTE* bytes, DWORD length);
    /// Appends a zero code unit: two bytes.
    ByteBuffer& appendNullChar();
    /// Appends the string in the system's ANSI code page, without a terminator.
    ByteBuffer& appendAscii(const CXString& text);

    /// Appends integers one after another, each little-endian in its own width.
    template <std::integral... Integers>
    ByteBuffer& appendValues(Integers... values) {
        BYTE bytes[(sizeof(values) + ...)];
        BYTE* next = bytes;
        ((std::memcpy(next, &values, sizeof(values)), next += sizeof(values)), ...);
        insert(end(), bytes, next);
        return *this;
    }
    ByteBuffer& appendByteValue(BYTE value) { return appendValues(value); }
    ByteBuffer& appendShortValue(short value) { return appendValues(value); }
    ByteBuffer& appendIntValue(int value) { return appendValues(value); }
    ByteBuffer& appendCountedString(const CXString& text);
    ByteBuffer& appendCountedBytes(const ByteBuffer& bytes);

    // The whole buffer as one value. Bytes after the value are ignored.
    // @throws ExceptionNotEnoughBytesForDesiredDataType when the buffer is shorter than the value
    LONG getAsLongValue() const;
    int getAsIntValue() const;
    short getAsShortValue() const;
    WORD getAsWordValue() const;
    bool getAsBoolValue() const;
    std::int64_t getAsTime64Value() const;
    CXString getAsStringValueFromCountedStringFormat() const;
    /// All bytes as code units; an odd last byte is ignored, and one zero unit at the end is dropped.
    CXString getAsStringValue() const;
    /// All bytes as text in the system's ANSI code page; zero bytes are kept.
    CXString getAsStringValueFromAnsiBuffer() const;
    /// Upper-case hexadecimal text of all bytes.
    CXString getAsHexBinaryString() const;
    /// Same as getAsHexBinaryString.
    CXString GetDumpDisplayString() const { return getAsHexBinaryString(); }

    /// The first byte; null when the buffer is empty and has never grown.
    BYTE* getLpbyte() { return data(); }
    const BYTE* getLpbyte() const { return data(); }
    /// Number of bytes.
    DWORD getDword() const { return static_cast<DWORD>(size()); }
    /// A copy of the bytes in a block of its own, which the caller releases with `delete[]`.
    /// @param length  receives the number of bytes; an empty buffer gives a block of one zero byte and 0
    BYTE* copyAsLpbyte(DWORD& length) const;

    /// Writes a stream block and advances the cursor behind it. The caller guarantees the room.
    ///
    /// All bytes are written, also when there are more than the 65,535 that the count can tell; such a block
    /// cannot be read back. That is deliberate.
    bool persistToByteStream(BYTE*& cursor) const;
    /// Appends a stream block: the size cut to 16 bits and, deliberately, only as many bytes as that says.
    bool persistToByteStream(ByteBuffer& out) const;
    /// Replaces everything by a stream block and advances the cursor behind it. No bounds are checked.
    ByteBuffer& initializeFromByteStream(BYTE*& cursor);

    // Walks.
    // @throws ExceptionNotEnoughBytesForDesiredDataType when too few bytes are left; the cursor then stands
    //         before the value, or behind the count of a counted string or counted bytes
    static BYTE WalkBufferToGetByte(BYTE*& cursor, unsigned& remaining);
    static bool WalkBufferToGetBool(BYTE*& cursor, unsigned& remaining);
    static short WalkBufferToGetShort(BYTE*& cursor, unsigned& remaining);
    static WORD WalkBufferToGetWord(BYTE*& cursor, unsigned& remaining);
    static int WalkBufferToGetInt(BYTE*& cursor, unsigned& remaining);
    static LONG WalkBufferToGetLong(BYTE*& cursor, unsigned& remaining);
    static std::int64_t WalkBufferToGetTime64(BYTE*& cursor, unsigned& remaining);
    static CXString WalkBufferToGetCountedString(BYTE*& cursor, unsigned& remaining);
    static void WalkBufferToGetCountedBytes(BYTE*& cursor, unsigned& remaining, ByteBuffer& out);

    /// Two characters a byte, upper-case, no separators.
    static CXString ConvertByteBufferToHexBinaryString(const ByteBuffer& bytes);
    /// Reads hexadecimal text; an odd number of characters is read as if a "0" stood in front.
    /// @param out      receives the bytes; empty on failure
    /// @param ignored  has no effect
    /// @return whether all characters were hexadecimal
    static bool ConvertHexBinaryStringToByteBuffer(const CXString& text, ByteBuffer& out,
                                                   bool ignored = false);
    /// The digit of a value below 16; "0" and false for any other.
    static bool ConvertValueToSingleHexChar(BYTE value, unsigned short& character, bool lowerCase = false,
                                            bool ignored = false);
    /// The value of a digit in either case; 0 and false for any other character.
    ///
    /// Deliberately, the seven characters after "9" (":" to "@") are accepted too and give 3 to 9.
    static bool ConvertSingleHexCharToValue(unsigned short character, BYTE& value, bool ignored = false);

    /// Has no visible effect.
    void dumpAsCharacters() const;
    /// Does nothing.
    void DumpAsHexBinary() const;
};

namespace nvutil {

/// A cursor over memory that is only read, for the walks, which take plain references.
struct ByteWalk {
    explicit ByteWalk(const ByteBuffer& buffer) : ByteWalk(buffer.data(), buffer.size()) {}
    ByteWalk(const BYTE* bytes, std::size_t length)
        : cursor(const_cast<BYTE*>(bytes)), remaining(static_cast<unsigned>(length)) {}

    BYTE* cursor;
    unsigned remaining;
};

}  // namespace nvutil
