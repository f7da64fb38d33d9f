// ByteBuffer: building and walking the library's binary conventions.
#include "utilities/utilitiesdll/bytebuffer.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>

#include "platform/codepage.h"
#include "platform/widechar.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"

// Code units and the eight bytes of a time are copied as they lie in memory.
static_assert(std::endian::native == std::endian::little);

namespace {

template <class Integer>
ByteBuffer CreateFromInteger(Integer value) {
    ByteBuffer buffer(sizeof(value), 0);
    std::memcpy(buffer.data(), &value, sizeof(value));
    return buffer;
}

/// Reads an integer, least significant byte first, and moves behind it; enough bytes must be left.
template <class Integer>
Integer TakeInteger(BYTE*& cursor, unsigned& remaining) {
    Integer value;
    std::memcpy(&value, cursor, sizeof(value));
    cursor += sizeof(value);
    remaining -= static_cast<unsigned>(sizeof(value));
    return value;
}

/// A length as strings count it.
int StringLength(std::size_t length) {
    if (length > INT_MAX) NV_THROW(ExceptionOutOfMemory, "ByteBuffer::StringLength", __LINE__);
    return static_cast<int>(length);
}

/// Copies code units out of memory that need not be aligned for them.
CXString StringFromBytes(const BYTE* bytes, std::size_t length) {
    CXString text;
    if (length > 0) std::memcpy(text.GetBufferSetLength(StringLength(length)), bytes, sizeof(WChar) * length);
    return text;
}

/// Calls a walk over a whole buffer.
template <class Walk>
auto WalkWhole(const ByteBuffer& buffer, Walk walk) {
    nvutil::ByteWalk whole(buffer);
    return walk(whole.cursor, whole.remaining);
}

}  // namespace

// A walk that finds too few bytes throws before it changes the cursor.
#define NV_REQUIRE_BYTES(count, function) \
    if (remaining < (count)) NV_THROW(ExceptionNotEnoughBytesForDesiredDataType, function, __LINE__)

ByteBuffer::ByteBuffer(const BYTE* bytes, DWORD length) {
    setWithLpbyte(bytes, length);
}

ByteBuffer::ByteBuffer(const CXString& text) {
    append(text);
}

ByteBuffer ByteBuffer::createFromByteValue(BYTE value) {
    return CreateFromInteger(value);
}

ByteBuffer ByteBuffer::createFromBoolValue(bool value) {
    return createFromByteValue(value ? 1 : 0);
}

ByteBuffer ByteBuffer::createFromShortValue(short value) {
    return CreateFromInteger(value);
}

ByteBuffer ByteBuffer::createFromWordValue(WORD value) {
    return CreateFromInteger(value);
}

ByteBuffer ByteBuffer::createFromIntValue(int value) {
    return CreateFromInteger(value);
}

ByteBuffer ByteBuffer::createFromLongValue(LONG value) {
    return createFromIntValue(value);
}

ByteBuffer ByteBuffer::createFromTime64Value(const std::int64_t& value) {
    return CreateFromInteger(value);
}

ByteBuffer ByteBuffer::createCountedStringFormatFromString(const CXString& text) {
    return createFromShortValue(static_cast<short>(text.GetLength())).append(text);
}

ByteBuffer ByteBuffer::createCountedBytesFormat(const ByteBuffer& bytes) {
    return createFromIntValue(static_cast<int>(bytes.size())).append(bytes);
}

ByteBuffer ByteBuffer::createFromHexBinaryString(const CXString& text) {
    ByteBuffer buffer;
    ConvertHexBinaryStringToByteBuffer(text, buffer);
    return buffer;
}

ByteBuffer& ByteBuffer::append(const ByteBuffer& bytes) {
    if (&bytes == this) return append(ByteBuffer(bytes));
    insert(end(), bytes.begin(), bytes.end());
    return *this;
}

ByteBuffer& ByteBuffer::append(const CXString& text) {
    const auto* units = reinterpret_cast<const BYTE*>(static_cast<const WChar*>(text));
    insert(end(), units, units + sizeof(WChar) * static_cast<std::size_t>(text.GetLength()));
    return *this;
}

ByteBuffer& ByteBuffer::appendLpbyte(const BYTE* bytes, DWORD length) {
    if (length != 0) insert(end(), bytes, bytes + length);
    return *this;
}

ByteBuffer& ByteBuffer::setWithLpbyte(const BYTE* bytes, DWORD length) {
    clear();
    return appendLpbyte(bytes, length);
}

ByteBuffer& ByteBuffer::appendNullChar() {
    return appendValues(WChar{0});
}

ByteBuffer& ByteBuffer::appendAscii(const CXString& text) {
    const int needed = platform::NarrowFromWide(platform::CodePage::Ansi, text, text.GetLength(), nullptr, 0);
    if (needed <= 0) return *this;
    std::vector<char> narrow(static_cast<std::size_t>(needed));
    platform::NarrowFromWide(platform::CodePage::Ansi, text, text.GetLength(), narrow.data(), needed);
    insert(end(), narrow.begin(), narrow.end());
    return *this;
}

ByteBuffer& ByteBuffer::appendCountedString(const CXString& text) {
    return appendValues(static_cast<short>(text.GetLength())).append(text);
}

ByteBuffer& ByteBuffer::appendCountedBytes(const ByteBuffer& bytes) {
    return appendValues(static_cast<int>(bytes.size())).append(bytes);
}

LONG ByteBuffer::getAsLongValue() const {
    return WalkWhole(*this, WalkBufferToGetLong);
}

int ByteBuffer::getAsIntValue() const {
    return WalkWhole(*this, WalkBufferToGetInt);
}

short ByteBuffer::getAsShortValue() const {
    return WalkWhole(*this, WalkBufferToGetShort);
}

WORD ByteBuffer::getAsWordValue() const {
    return WalkWhole(*this, WalkBufferToGetWord);
}

bool ByteBuffer::getAsBoolValue() const {
    return WalkWhole(*this, WalkBufferToGetBool);
}

std::int64_t ByteBuffer::getAsTime64Value() const {
    return WalkWhole(*this, WalkBufferToGetTime64);
}

CXString ByteBuffer::getAsStringValueFromCountedStringFormat() const {
    return WalkWhole(*this, WalkBufferToGetCountedString);
}

CXString ByteBuffer::getAsStringValue() const {
    std::size_t length = size() / sizeof(WChar);
    const bool isTerminated = length > 0 && (*this)[2 * length - 2] == 0 && (*this)[2 * length - 1] == 0;
    if (isTerminated) --length;  // one terminator only; earlier zero units belong to the string
    return StringFromBytes(data(), length);
}

CXString ByteBuffer::getAsStringValueFromAnsiBuffer() const {
    return {reinterpret_cast<const char*>(data()), StringLength(size())};
}

CXString ByteBuffer::getAsHexBinaryString() const {
    return ConvertByteBufferToHexBinaryString(*this);
}

BYTE* ByteBuffer::copyAsLpbyte(DWORD& length) const {
    length = getDword();
    auto* block = new BYTE[empty() ? 1 : size()]();
    std::copy(begin(), end(), block);
    return block;
}

bool ByteBuffer::persistToByteStream(BYTE*& cursor) const {
    const auto count = static_cast<WORD>(size());
    std::memcpy(cursor, &count, sizeof(count));
    // All bytes follow even a cut count: deliberate, as the header of this class says.
    cursor = std::copy(begin(), end(), cursor + sizeof(count));
    return true;
}

bool ByteBuffer::persistToByteStream(ByteBuffer& out) const {
    const ByteBuffer source(*this);  // `out` may be this buffer
    const auto count = static_cast<WORD>(source.size());
    out.appendValues(count).appendLpbyte(source.data(), count);
    return true;
}

ByteBuffer& ByteBuffer::initializeFromByteStream(BYTE*& cursor) {
    WORD count;
    std::memcpy(&count, cursor, sizeof(count));
    cursor += sizeof(count);
    setWithLpbyte(cursor, count);
    cursor += count;
    return *this;
}

BYTE ByteBuffer::WalkBufferToGetByte(BYTE*& cursor, unsigned& remaining) {
    NV_REQUIRE_BYTES(1u, "ByteBuffer::WalkBufferToGetByte");
    return TakeInteger<BYTE>(cursor, remaining);
}

bool ByteBuffer::WalkBufferToGetBool(BYTE*& cursor, unsigned& remaining) {
    return WalkBufferToGetByte(cursor, remaining) != 0;
}

short ByteBuffer::WalkBufferToGetShort(BYTE*& cursor, unsigned& remaining) {
    NV_REQUIRE_BYTES(2u, "ByteBuffer::WalkBufferToGetShort");
    return TakeInteger<short>(cursor, remaining);
}

WORD ByteBuffer::WalkBufferToGetWord(BYTE*& cursor, unsigned& remaining) {
    NV_REQUIRE_BYTES(2u, "ByteBuffer::WalkBufferToGetWord");
    return TakeInteger<WORD>(cursor, remaining);
}

int ByteBuffer::WalkBufferToGetInt(BYTE*& cursor, unsigned& remaining) {
    NV_REQUIRE_BYTES(4u, "ByteBuffer::WalkBufferToGetInt");
    return TakeInteger<int>(cursor, remaining);
}

LONG ByteBuffer::WalkBufferToGetLong(BYTE*& cursor, unsigned& remaining) {
    NV_REQUIRE_BYTES(4u, "ByteBuffer::WalkBufferToGetLong");
    return TakeInteger<LONG>(cursor, remaining);
}

std::int64_t ByteBuffer::WalkBufferToGetTime64(BYTE*& cursor, unsigned& remaining) {
    NV_REQUIRE_BYTES(8u, "ByteBuffer::WalkBufferToGetTime64");
    return TakeInteger<std::int64_t>(cursor, remaining);
}

CXString ByteBuffer::WalkBufferToGetCountedString(BYTE*& cursor, unsigned& remaining) {
    const int count = WalkBufferToGetShort(cursor, remaining);
    // A negative count asks for more than there can be.
    const unsigned length = count < 0 ? UINT_MAX : static_cast<unsigned>(count) * 2u;
    NV_REQUIRE_BYTES(length, "ByteBuffer::WalkBufferToGetCountedString");
    CXString text = StringFromBytes(cursor, static_cast<std::size_t>(count));
    cursor += length;
    remaining -= length;
    return text;
}

void ByteBuffer::WalkBufferToGetCountedBytes(BYTE*& cursor, unsigned& remaining, ByteBuffer& out) {
    const auto length = static_cast<unsigned>(WalkBufferToGetLong(cursor, remaining));
    NV_REQUIRE_BYTES(length, "ByteBuffer::WalkBufferToGetCountedBytes");
    out.setWithLpbyte(cursor, length);
    cursor += length;
    remaining -= length;
}

CXString ByteBuffer::ConvertByteBufferToHexBinaryString(const ByteBuffer& bytes) {
    static constexpr char digits[] = "0123456789ABCDEF";
    CXString text;
    if (bytes.empty()) return text;
    WChar* out = text.GetBufferSetLength(StringLength(2 * bytes.size()));
    for (const BYTE byte : bytes) {
        *out++ = static_cast<WChar>(digits[byte >> 4]);
        *out++ = static_cast<WChar>(digits[byte & 0x0F]);
    }
    return text;
}

bool ByteBuffer::ConvertHexBinaryStringToByteBuffer(const CXString& text, ByteBuffer& out, bool /*ignored*/) {
    out.clear();
    const CXString digits = text.GetLength() % 2 == 0 ? text : NV_TEXT("0") + text;
    out.reserve(static_cast<std::size_t>(digits.GetLength()) / 2);
    for (int i = 0; i < digits.GetLength(); i += 2) {
        BYTE high = 0;
        BYTE low = 0;
        if (!ConvertSingleHexCharToValue(digits.GetAt(i), high) ||
            !ConvertSingleHexCharToValue(digits.GetAt(i + 1), low)) {
            out.clear();
            return false;
        }
        out.push_back(static_cast<BYTE>(high * 16 + low));
    }
    return true;
}

bool ByteBuffer::ConvertValueToSingleHexChar(BYTE value, unsigned short& character, bool lowerCase,
                                             bool /*ignored*/) {
    character = '0';
    if (value > 15) return false;
    const int letter = lowerCase ? 'a' : 'A';
    character = static_cast<unsigned short>(value < 10 ? '0' + value : letter + value - 10);
    return true;
}

bool ByteBuffer::ConvertSingleHexCharToValue(unsigned short character, BYTE& value, bool /*ignored*/) {
    if (platform::IsDigit(static_cast<WChar>(character))) {
        value = static_cast<BYTE>(character - '0');
        return true;
    }
    // Eight-bit arithmetic on purpose: it also accepts ":" to "@", and existing texts rely on that.
    const int letter = character >= 'a' && character <= 'f' ? 'a' : 'A';
    value = static_cast<BYTE>(static_cast<BYTE>(character - letter) + 10);
    if (value <= 15) return true;
    value = 0;
    return false;
}

void ByteBuffer::dumpAsCharacters() const {
    CXString text;
    for (const BYTE byte : *this)
        text.Format(NV_TEXT("%c"), byte);
}

void ByteBuffer::DumpAsHexBinary() const {}
