// ByteBuffer: the binary conventions, walks at their limits and hexadecimal text.
#include "utilities/utilitiesdll/bytebuffer.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "support/bytes.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

TEST(ByteBuffer, WritesEveryKindLittleEndian) {
    EXPECT_EQ(Hex(ByteBuffer::createFromByteValue(0xFE)), "FE");
    EXPECT_EQ(Hex(ByteBuffer::createFromBoolValue(true)), "01");
    EXPECT_EQ(Hex(ByteBuffer::createFromShortValue(-2)), "FE FF");
    EXPECT_EQ(Hex(ByteBuffer::createFromWordValue(0x1234)), "34 12");
    EXPECT_EQ(Hex(ByteBuffer::createFromIntValue(0x12345678)), "78 56 34 12");
    EXPECT_EQ(Hex(ByteBuffer::createFromLongValue(-2)), "FE FF FF FF");
    EXPECT_EQ(Hex(ByteBuffer::createFromTime64Value(0x0102030405060708)), "08 07 06 05 04 03 02 01");
    EXPECT_EQ(Hex(ByteBuffer::createCountedStringFormatFromString(NV_TEXT("AB"))), "02 00 41 00 42 00");
    EXPECT_EQ(Hex(ByteBuffer::createCountedBytesFormat(Bytes("AA BB"))), "02 00 00 00 AA BB");
    EXPECT_EQ(Hex(ByteBuffer(CXString(NV_TEXT("A\x20AC")))), "41 00 AC 20");
}

TEST(ByteBuffer, TwoNumbersAreACountAndAValue) {
    EXPECT_TRUE(ByteBuffer(0, 0).empty());
    EXPECT_TRUE(ByteBuffer(0, 5).empty());
    EXPECT_TRUE(ByteBuffer(nullptr, 0).empty());
    EXPECT_EQ(Hex(ByteBuffer(3, 0xA5)), "A5 A5 A5");
    EXPECT_EQ(Hex(ByteBuffer(std::size_t{2}, BYTE{7})), "07 07");
    EXPECT_EQ(Hex(ByteBuffer{2, 7}), "02 07");
}

TEST(ByteBuffer, AppendsChain) {
    ByteBuffer buffer = Bytes("01");
    buffer.append(buffer)
        .append(CXString(NV_TEXT("A")))
        .appendNullChar()
        .appendAscii(NV_TEXT("b\x00E9"))
        .append(Bytes(""));
    EXPECT_EQ(Hex(buffer), "01 01 41 00 00 00 62 E9");
    EXPECT_EQ(Hex(buffer.setWithLpbyte(Bytes("09 08").data(), 1)), "09");
    EXPECT_EQ(Hex(buffer.appendLpbyte(nullptr, 0).appendAscii(CXString())), "09");
}

TEST(ByteBuffer, ReadsItsBeginningAsOneValue) {
    const ByteBuffer buffer = Bytes("FE FF FF FF FF FF FF FF 99");
    EXPECT_EQ(buffer.getAsLongValue(), -2);
    EXPECT_EQ(buffer.getAsIntValue(), -2);
    EXPECT_EQ(buffer.getAsShortValue(), -2);
    EXPECT_EQ(buffer.getAsWordValue(), 65534);
    EXPECT_TRUE(buffer.getAsBoolValue());
    EXPECT_EQ(buffer.getAsTime64Value(), -2);
    EXPECT_EQ(Bytes("02 00 41 00 42 00 FF").getAsStringValueFromCountedStringFormat(), NV_TEXT("AB"));
    EXPECT_THROW(Bytes("01 02 03").getAsLongValue(), ExceptionNotEnoughBytesForDesiredDataType);
}

TEST(ByteBuffer, ReadsAllItsBytesAsText) {
    EXPECT_EQ(Bytes("41 00 42 00 00 00").getAsStringValue(), NV_TEXT("AB"));
    EXPECT_EQ(Bytes("41 00 42 00 43").getAsStringValue(), NV_TEXT("AB"));
    EXPECT_EQ(Bytes("41 00 00 00 00 00").getAsStringValue(), CXString(NV_TEXT("A\0"), 2));
    EXPECT_TRUE(Bytes("").getAsStringValue().IsEmpty());
    EXPECT_TRUE(Bytes("00 00").getAsStringValue().IsEmpty());
    EXPECT_EQ(Bytes("41 E9 00").getAsStringValueFromAnsiBuffer(), CXString(NV_TEXT("A\x00E9\0"), 3));
    EXPECT_TRUE(Bytes("").getAsStringValueFromAnsiBuffer().IsEmpty());
}

TEST(ByteBuffer, CopiesItselfToABlockOfItsOwn) {
    DWORD length = 99;
    std::unique_ptr<BYTE[]> block(Bytes("").copyAsLpbyte(length));
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(block[0], 0);
    block.reset(Bytes("01 02").copyAsLpbyte(length));
    ASSERT_EQ(length, 2u);
    EXPECT_EQ(block[1], 2);
}

// One walk, the bytes that it needs, and the name that its failure carries.
const struct {
    const char* name;
    unsigned width;
    std::function<void(BYTE*&, unsigned&)> walk;
} walkCases[] = {
    {"ByteBuffer::WalkBufferToGetByte", 1, ByteBuffer::WalkBufferToGetByte},
    {"ByteBuffer::WalkBufferToGetByte", 1, ByteBuffer::WalkBufferToGetBool},
    {"ByteBuffer::WalkBufferToGetShort", 2, ByteBuffer::WalkBufferToGetShort},
    {"ByteBuffer::WalkBufferToGetWord", 2, ByteBuffer::WalkBufferToGetWord},
    {"ByteBuffer::WalkBufferToGetInt", 4, ByteBuffer::WalkBufferToGetInt},
    {"ByteBuffer::WalkBufferToGetLong", 4, ByteBuffer::WalkBufferToGetLong},
    {"ByteBuffer::WalkBufferToGetTime64", 8, ByteBuffer::WalkBufferToGetTime64},
};

TEST(ByteBufferWalk, OfAFixedWidthNeedsExactlyItsBytes) {
    const ByteBuffer buffer(8, 0xFF);
    for (const auto& walk : walkCases) {
        SCOPED_TRACE(walk.name);
        nvutil::ByteWalk exact(buffer.data(), walk.width);
        walk.walk(exact.cursor, exact.remaining);
        EXPECT_EQ(exact.remaining, 0u);
        EXPECT_EQ(exact.cursor, buffer.data() + walk.width);

        nvutil::ByteWalk tooFew(buffer.data(), walk.width - 1);
        try {
            walk.walk(tooFew.cursor, tooFew.remaining);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const ExceptionNotEnoughBytesForDesiredDataType& e) {
            EXPECT_EQ(Narrow(e.GetExceptionLocationFunctionName()), walk.name);
            EXPECT_EQ(Narrow(e.GetExceptionLocationFileName()), "src/utilities/utilitiesdll/bytebuffer");
            EXPECT_TRUE(e.GetExceptionMesage().IsEmpty());
        }
        EXPECT_EQ(tooFew.remaining, walk.width - 1);
        EXPECT_EQ(tooFew.cursor, buffer.data());
    }
}

TEST(ByteBufferWalk, OfCountedKindsStopsBehindTheCountWhenBytesAreMissing) {
    const auto expect = [](const char* bytes, bool isString, unsigned consumed) {
        SCOPED_TRACE(bytes);
        const ByteBuffer buffer = Bytes(bytes);
        nvutil::ByteWalk walk(buffer);
        ByteBuffer out;
        EXPECT_THROW(isString ? void(ByteBuffer::WalkBufferToGetCountedString(walk.cursor, walk.remaining))
                              : ByteBuffer::WalkBufferToGetCountedBytes(walk.cursor, walk.remaining, out),
                     ExceptionNotEnoughBytesForDesiredDataType);
        EXPECT_EQ(walk.cursor, buffer.data() + consumed);
        EXPECT_EQ(walk.remaining, buffer.size() - consumed);
    };
    expect("03 00 41 00 42 00", true, 2);  // three code units, bytes for two
    expect("FF FF 41 00", true, 2);        // a negative count
    expect("00 80 41 00", true, 2);
    expect("03", true, 0);
    expect("03 00 00 00 AA BB", false, 4);
    expect("FF FF FF FF AA", false, 4);
    expect("03 00 00", false, 0);
}

TEST(ByteBufferWalk, ReadsWhatWasWritten) {
    ByteBuffer buffer;
    buffer.append(ByteBuffer::createCountedStringFormatFromString(NV_TEXT("AB")))
        .append(ByteBuffer::createCountedStringFormatFromString(CXString()))
        .append(ByteBuffer::createCountedBytesFormat(Bytes("0A FF")))
        .append(ByteBuffer::createFromTime64Value(-5));
    nvutil::ByteWalk walk(buffer);
    EXPECT_EQ(ByteBuffer::WalkBufferToGetCountedString(walk.cursor, walk.remaining), NV_TEXT("AB"));
    EXPECT_TRUE(ByteBuffer::WalkBufferToGetCountedString(walk.cursor, walk.remaining).IsEmpty());
    ByteBuffer bytes = Bytes("01 02 03");
    ByteBuffer::WalkBufferToGetCountedBytes(walk.cursor, walk.remaining, bytes);
    EXPECT_EQ(Hex(bytes), "0A FF");
    EXPECT_EQ(ByteBuffer::WalkBufferToGetTime64(walk.cursor, walk.remaining), -5);
    EXPECT_EQ(walk.remaining, 0u);
}

TEST(ByteBufferHex, ReadsTextOfAnyLength) {
    const auto expect = [](const WChar* text, bool isValid, const char* bytes) {
        ByteBuffer out = Bytes("77");
        EXPECT_EQ(ByteBuffer::ConvertHexBinaryStringToByteBuffer(text, out), isValid) << Narrow(text);
        EXPECT_EQ(Hex(out), bytes) << Narrow(text);
    };
    expect(NV_TEXT(""), true, "");
    expect(NV_TEXT("abc"), true, "0A BC");
    expect(NV_TEXT("0AfF"), true, "0A FF");
    expect(NV_TEXT("@@"), true, "99");
    expect(NV_TEXT(":?"), true, "38");
    expect(NV_TEXT("\x0660\x0660"), true, "30");
    for (const WChar* const text : {NV_TEXT("0G"), NV_TEXT("12g"), NV_TEXT("/0"), NV_TEXT("12 3")})
        expect(text, false, "");
    EXPECT_EQ(Narrow(Bytes("0A FF").getAsHexBinaryString()), "0AFF");
    EXPECT_TRUE(Bytes("").getAsHexBinaryString().IsEmpty());

    unsigned short character = 0;
    EXPECT_TRUE(ByteBuffer::ConvertValueToSingleHexChar(10, character, true));
    EXPECT_EQ(character, 'a');
    EXPECT_TRUE(ByteBuffer::ConvertValueToSingleHexChar(15, character, false));
    EXPECT_EQ(character, 'F');
    EXPECT_FALSE(ByteBuffer::ConvertValueToSingleHexChar(16, character));
    EXPECT_EQ(character, '0');
}

TEST(ByteBufferStream, RestoresABlockBelow65536Bytes) {
    for (const std::size_t size : {0u, 1u, 65535u}) {
        const ByteBuffer block(size, 0x5A);
        ByteBuffer stream;
        EXPECT_TRUE(block.persistToByteStream(stream));
        ByteBuffer restored = Bytes("01");
        BYTE* cursor = stream.data();
        restored.initializeFromByteStream(cursor);
        EXPECT_EQ(restored, block);
        EXPECT_EQ(cursor, stream.data() + stream.size());
    }

    // The count of a longer block is cut.
    const ByteBuffer block(65537, 0x5A);
    ByteBuffer stream;
    block.persistToByteStream(stream);
    EXPECT_EQ(Hex(stream), "01 00 5A");

    ByteBuffer room(block.size() + 3, 0);
    BYTE* cursor = room.data();
    block.persistToByteStream(cursor);
    EXPECT_EQ(cursor, room.data() + 2 + block.size());
    EXPECT_EQ(room[1], 0);
    EXPECT_EQ(room[block.size() + 1], 0x5A);
}

}  // namespace
