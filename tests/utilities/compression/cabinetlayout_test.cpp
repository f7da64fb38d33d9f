// Which cabinets are read at all: a sound one, and others with one thing that differs.
#include <gtest/gtest.h>

#include "support/cabinetbuilder.h"
#include "utilities/compression/cabcompressedbuffer.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

using namespace cabinettest;
using namespace platform::cabinet;

// MSZIP payloads of one deflate block each.
const ByteBuffer zeros32768 =
    Bytes("43 4B ED C1 01 01 00 00 00 80 90 FE AF EE 08 0A").append(ByteBuffer(31, 0)).append(Bytes("18"));
const ByteBuffer letterA = Bytes("43 4B 73 04 00");

/// A cabinet of 32,769 bytes, 32,768 zeros and an "A", in these blocks.
CabinetBuilder ZerosAndA(WORD compression = tcompTYPE_MSZIP,
                         std::vector<Block> blocks = {{zeros32768, 32768}, {letterA, 1}},
                         const std::string& name = "//Uncompressed-Data//") {
    return CabinetBuilder().Folder(compression, std::move(blocks)).File(name, {.size = 32769});
}

/// "" when the cabinet gives its data, else the start of the exception's message.
std::string Fault(const ByteBuffer& cabinet) {
    ByteBuffer out;
    try {
        CabCompressedBuffer::UncompressBuffer(cabinet, out);
    } catch (const ExceptionCompression& exception) {
        const std::string message = Narrow(exception.GetExceptionMesage());
        return message.substr(0, message.find(" ("));
    }
    return out == ByteBuffer(32768, 0).append(Bytes("41")) ? "" : "other data";
}

constexpr char corrupt[] = "4: FDIERROR_CORRUPT_CABINET";
constexpr char aborted[] = "11: FDIERROR_USER_ABORT";

TEST(CabinetLayout, RefusesDamagedRecords) {
    const struct {
        const char* what;
        void (*damage)(Records&);
        const char* fault = corrupt;
    } cases[] = {
        {"nothing", [](Records&) {}, ""},
        {"signature", [](Records& r) { r.header.signature ^= 1; }, "2: FDIERROR_NOT_A_CABINET"},
        {"version", [](Records& r) { r.header.minorVersion = 4; }, "3: FDIERROR_UNKNOWN_CABINET_VERSION"},
        {"a size beyond the bytes", [](Records& r) { ++r.header.cabinetSize; }},
        {"a size before the last block's end", [](Records& r) { --r.header.cabinetSize; }},
        {"a negative size", [](Records& r) { r.header.cabinetSize = 0x80000100; }},
        {"no size", [](Records& r) { r.header.cabinetSize = 0; }},
        {"a cabinet before it", [](Records& r) { r.header.flags = hasPreviousCabinet; }, aborted},
        {"a cabinet behind it", [](Records& r) { r.header.flags = hasNextCabinet; }, aborted},
        {"an unknown flag", [](Records& r) { r.header.flags = 8; }},
        {"no folder", [](Records& r) { r.header.folderCount = 0; }},
        {"two folders", [](Records& r) { r.header.folderCount = 2; }},
        {"no file", [](Records& r) { r.header.fileCount = 0; }},
        {"as many files as can be", [](Records& r) { r.header.fileCount = 0xFFFF; }},
        {"file entry over the folder", [](Records& r) { --r.header.firstFileOffset; }},
        {"file entry behind the end", [](Records& r) { r.header.firstFileOffset = 0xFFFFFFFE; }},
        {"no compression of compressed blocks", [](Records& r) { r.folders[0].compression = 0; }},
        {"LZX", [](Records& r) { r.folders[0].compression = 3; }, "6: FDIERROR_BAD_COMPR_TYPE"},
        {"blocks over the entries", [](Records& r) { r.folders[0].dataOffset = 36; }},
        {"blocks behind the end", [](Records& r) { r.folders[0].dataOffset = 0x7FFFFFFF; }},
        {"fewer blocks", [](Records& r) { r.folders[0].blockCount = 1; }},
        {"more blocks", [](Records& r) { r.folders[0].blockCount = 3; }},
        {"no blocks", [](Records& r) { r.folders[0].blockCount = 0; }},
        {"a file smaller than its folder", [](Records& r) { --r.files[0].size; }},
        {"a file larger than its folder", [](Records& r) { ++r.files[0].size; }},
        {"a file of 2 GiB", [](Records& r) { r.files[0].size = 0x7FFFFFFF; }},
        {"a file that begins later", [](Records& r) { r.files[0].offset = 1; }},
        {"a file from the cabinet before", [](Records& r) { r.files[0].folder = continuedFromPrevious; }},
        {"a file of another folder", [](Records& r) { r.files[0].folder = 1; }},
        {"a block that is too large", [](Records& r) { r.blocks[0].uncompressedSize = 32769; }},
        {"a payload behind the end", [](Records& r) { ++r.blocks[1].payloadSize; }},
    };
    for (const auto& [what, damage, fault] : cases)
        EXPECT_EQ(Fault(ZerosAndA().Damage(damage).Build()), fault) << what;
    EXPECT_EQ(
        Fault(ZerosAndA().Damage([](Records& r) { ++r.header.cabinetSize; }).Build().append(Bytes("00"))),
        corrupt)
        << "a size behind the last block's end";
    const ByteBuffer areas(6144, 0x55), folder(3), block(255);
    EXPECT_EQ(Fault(ZerosAndA().Reserve(areas, folder, block).Build()), "");
    EXPECT_EQ(
        Fault(ZerosAndA().Reserve({}, folder, {}).Damage([](Records& r) { --r.reserve.folder; }).Build()),
        corrupt)
        << "a gap before the file entry";
}

TEST(CabinetLayout, TakesTheBlocksAndTheNameOfItsOwnCabinetsAlone) {
    const ByteBuffer zeros(32768, 0);
    const Block first{zeros32768, 32768};
    const Block last{letterA, 1};
    const Block stored{Bytes("41"), 1};
    const struct {
        const char* what;
        CabinetBuilder cabinet;
        const char* fault = corrupt;
    } cases[] = {
        {"no compression", ZerosAndA(tcompTYPE_NONE, {{zeros, 32768}, stored}), ""},
        {"stored data that begins like a compressed block",
         ZerosAndA(tcompTYPE_NONE, {{Bytes("43 4B").append(ByteBuffer(32766, 0)), 32768}, stored}),
         "other data"},
        {"a stored block that is too short",
         ZerosAndA(tcompTYPE_NONE, {{ByteBuffer(32767, 0), 32768}, stored})},
        {"a short block before the last", ZerosAndA(tcompTYPE_MSZIP, {last, first})},
        {"a block without bytes", ZerosAndA(tcompTYPE_MSZIP, {first, last, {Bytes("43 4B 03 00"), 0}})},
        {"a payload without its mark", ZerosAndA(tcompTYPE_MSZIP, {first, {Bytes("63 4B 73 04 00"), 1}})},
        {"a payload of one byte", ZerosAndA(tcompTYPE_MSZIP, {first, {Bytes("43"), 1}})},
        {"no name", ZerosAndA(tcompTYPE_MSZIP, {first, last}, "")},
        {"a name of 256 bytes", ZerosAndA(tcompTYPE_MSZIP, {first, last}, std::string(256, 'x'))},
        {"another name", ZerosAndA(tcompTYPE_MSZIP, {first, last}, "x"), aborted},
        {"the cabinet's own name", ZerosAndA(tcompTYPE_MSZIP, {first, last}, "//Compressed-Data//"), aborted},
    };
    for (const auto& [what, cabinet, fault] : cases)
        EXPECT_EQ(Fault(cabinet.Build()), fault) << what;
}

// The library does not check these: what a decoder of fixed blocks would write beyond or leave out.
TEST(CabinetLayout, RefusesPayloadsThatDoNotFillTheirBlock) {
    // Two stored blocks of 20,000 bytes are more than a cabinet's block holds.
    const ByteBuffer stored40000 = Bytes("43 4B 00 20 4E DF B1")
                                       .append(ByteBuffer(20000, 0))
                                       .append(Bytes("01 20 4E DF B1"))
                                       .append(ByteBuffer(18000, 0));
    const struct {
        const char* what;
        Block block;
    } cases[] = {
        {"a byte too many", {Bytes("43 4B 4B 4C 4A 06 00"), 2}},
        {"a byte too few", {Bytes("43 4B 4B 4C 4A 06 00"), 4}},
        {"much too few", {Bytes("43 4B 4B 4C 4A 06 00"), 32768}},
        {"an end before the data's end", {Bytes("43 4B 4B 4C"), 3}},
        {"nothing", {Bytes("43 4B"), 3}},
        {"an empty stream", {Bytes("43 4B 03 00"), 3}},
        {"a block of the reserved type", {Bytes("43 4B 07 00 00 00"), 3}},
        {"a stored block whose lengths differ", {Bytes("43 4B 01 03 00 FF FF 61 62 63"), 3}},
        {"a match before the start", {Bytes("43 4B 4B 04 21 00 00"), 9}},
        {"stored data beyond the block", {stored40000, 32768}},
        // Some decoders take the bits of a code that is empty for its first symbol.
        {"a match at a distance without a code",
         {Bytes("43 4B 0D C0 01 09 00 00 00 80 A0 AD FD 3F 91 C4"), 4, 0xA938FDAF}},
        {"compressed data beyond the block", {zeros32768, 100}},
    };
    for (const auto& [what, block] : cases) {
        ByteBuffer out;
        EXPECT_THROW(CabCompressedBuffer::UncompressBuffer(
                         CabinetBuilder()
                             .Folder(tcompTYPE_MSZIP, {block})
                             .File("//Uncompressed-Data//", {.size = static_cast<std::uint32_t>(block.size)})
                             .Build(),
                         out),
                     ExceptionCompression)
            << what;
    }
}

}  // namespace
