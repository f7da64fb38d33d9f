// Which cabinets are read at all: cabinets built by hand, each with one thing that differs.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/bytes.h"
#include "utilities/compression/cabcompressedbuffer.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

// Deflate data of one block each.
constexpr char zeros32768[] =
    "ED C1 01 01 00 00 00 80 90 FE AF EE 08 0A 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 00 00 00 00 00 00 00 00 00 00 00 18";
constexpr char letterA[] = "73 04 00";

struct Block {
    ByteBuffer payload;
    int uncompressedSize;
    int payloadSizeTold = -1;  ///< -1 for the true one.
    int checksum = 0;
};

/// A cabinet of 32,769 bytes, 32,768 zeros and an "A", without checksums.
struct Cabinet {
    std::vector<Block> blocks = {{Bytes("43 4B").append(Bytes(zeros32768)), 32768},
                                 {Bytes("43 4B").append(Bytes(letterA)), 1}};
    std::string name = "//Uncompressed-Data//";
    int signature = 0x4643534D;
    int missingSize = 0;  ///< How much less than the truth the header tells.
    short version = 0x0103;
    short folders = 1;
    short files = 1;
    short flags = 0;
    ByteBuffer headerReserve;
    int folderReserve = 0;
    int blockReserve = 0;
    int gap = 0;  ///< Between the folder and the file entry.
    short compression = 1;
    int blocksOffset = -1;  ///< -1 for the true one.
    int filesOffset = -1;
    short blockCount = -1;
    int fileSize = 32769;
    int fileOffset = 0;
    short fileFolder = 0;

    ByteBuffer Build() const {
        ByteBuffer folder;
        if ((flags & 4) != 0) {
            folder.appendShortValue(static_cast<short>(headerReserve.size()));
            folder.appendByteValue(static_cast<BYTE>(folderReserve));
            folder.appendByteValue(static_cast<BYTE>(blockReserve));
            folder.append(headerReserve);
        }
        const auto trueFilesOffset = 36 + static_cast<int>(folder.size()) + 8 + folderReserve + gap;
        const auto trueBlocksOffset = trueFilesOffset + 16 + static_cast<int>(name.size()) + 1;
        folder.appendIntValue(blocksOffset == -1 ? trueBlocksOffset : blocksOffset);
        folder.appendShortValue(blockCount == -1 ? static_cast<short>(blocks.size()) : blockCount);
        folder.appendShortValue(compression);
        folder.resize(folder.size() + static_cast<std::size_t>(folderReserve + gap));

        ByteBuffer rest = FileAndBlocks();
        ByteBuffer out;
        out.appendIntValue(signature).appendIntValue(0);
        out.appendIntValue(36 + static_cast<int>(folder.size() + rest.size()) - missingSize);
        out.appendIntValue(0)
            .appendIntValue(filesOffset == -1 ? trueFilesOffset : filesOffset)
            .appendIntValue(0);
        out.appendShortValue(version).appendShortValue(folders).appendShortValue(files).appendShortValue(
            flags);
        out.appendShortValue(0).appendShortValue(0);
        return out.append(folder).append(rest);
    }

private:
    ByteBuffer FileAndBlocks() const {
        ByteBuffer out;
        out.appendIntValue(fileSize).appendIntValue(fileOffset).appendShortValue(fileFolder);
        out.appendShortValue(0).appendShortValue(0).appendShortValue(0);
        out.insert(out.end(), name.begin(), name.end());
        out.push_back(0);
        for (const Block& block : blocks) {
            const int told = block.payloadSizeTold;
            out.appendIntValue(block.checksum);
            out.appendShortValue(
                static_cast<short>(told == -1 ? static_cast<int>(block.payload.size()) : told));
            out.appendShortValue(static_cast<short>(block.uncompressedSize));
            out.resize(out.size() + static_cast<std::size_t>(blockReserve));
            out.append(block.payload);
        }
        return out;
    }
};

ByteBuffer ZerosAndA() {
    ByteBuffer data(32769);
    data.back() = 'A';
    return data;
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
    return out == ZerosAndA() ? "" : "other data";
}

constexpr char notACabinet[] = "2: FDIERROR_NOT_A_CABINET";
constexpr char corrupt[] = "4: FDIERROR_CORRUPT_CABINET";
constexpr char spanned[] = "11: FDIERROR_USER_ABORT";

TEST(CabinetLayout, AcceptsOrRefusesByItsRules) {
    const struct {
        const char* what;
        void (*change)(Cabinet&);
        const char* fault;
    } cases[] = {
        {"nothing", [](Cabinet&) {}, ""},
        {"reserved areas",
         [](Cabinet& c) {
             c.flags = 4;
             c.headerReserve = ByteBuffer(6144, 0x55);
             c.folderReserve = 3;
             c.blockReserve = 255;
         },
         ""},
        {"signature", [](Cabinet& c) { c.signature ^= 1; }, notACabinet},
        {"version", [](Cabinet& c) { c.version = 0x0104; }, "3: FDIERROR_UNKNOWN_CABINET_VERSION"},
        {"a size beyond the bytes", [](Cabinet& c) { c.missingSize = -1; }, corrupt},
        {"a size before the last block's end", [](Cabinet& c) { c.missingSize = 1; }, corrupt},
        {"a negative size", [](Cabinet& c) { c.missingSize = 0x7FFFFFFF; }, corrupt},
        {"no size", [](Cabinet& c) { c.missingSize = static_cast<int>(c.Build().size()); }, corrupt},
        {"a cabinet before it", [](Cabinet& c) { c.flags = 1; }, spanned},
        {"a cabinet behind it", [](Cabinet& c) { c.flags = 2; }, spanned},
        {"an unknown flag", [](Cabinet& c) { c.flags = 8; }, corrupt},
        {"no folder", [](Cabinet& c) { c.folders = 0; }, corrupt},
        {"two folders", [](Cabinet& c) { c.folders = 2; }, corrupt},
        {"no file", [](Cabinet& c) { c.files = 0; }, corrupt},
        {"as many files as can be", [](Cabinet& c) { c.files = -1; }, corrupt},
        {"no compression of compressed blocks", [](Cabinet& c) { c.compression = 0; }, corrupt},
        {"no compression",
         [](Cabinet& c) {
             c.compression = 0;
             c.blocks = {{ByteBuffer(32768, 0), 32768}, {Bytes("41"), 1}};
         },
         ""},
        {"no compression of data that begins like a compressed block",
         [](Cabinet& c) {
             c.compression = 0;
             c.blocks = {{Bytes("43 4B").append(ByteBuffer(32766, 0)), 32768}, {Bytes("41"), 1}};
         },
         "other data"},
        {"no compression and a block too short",
         [](Cabinet& c) {
             c.compression = 0;
             c.blocks = {{ByteBuffer(32767, 0), 32768}, {Bytes("41"), 1}};
         },
         corrupt},
        {"another compression", [](Cabinet& c) { c.compression = 3; }, "6: FDIERROR_BAD_COMPR_TYPE"},
        {"blocks over the entries", [](Cabinet& c) { c.blocksOffset = 36; }, corrupt},
        {"blocks behind the end", [](Cabinet& c) { c.blocksOffset = 0x7FFFFFFF; }, corrupt},
        {"file entry over the folder", [](Cabinet& c) { c.filesOffset = 43; }, corrupt},
        {"a gap before the file entry", [](Cabinet& c) { c.gap = 1; }, corrupt},
        {"file entry behind the end", [](Cabinet& c) { c.filesOffset = -2; }, corrupt},
        {"fewer blocks", [](Cabinet& c) { c.blockCount = 1; }, corrupt},
        {"more blocks", [](Cabinet& c) { c.blockCount = 3; }, corrupt},
        {"no blocks", [](Cabinet& c) { c.blockCount = 0; }, corrupt},
        {"a file smaller than its folder", [](Cabinet& c) { --c.fileSize; }, corrupt},
        {"a file larger than its folder", [](Cabinet& c) { ++c.fileSize; }, corrupt},
        {"a file of 2 GiB", [](Cabinet& c) { c.fileSize = 0x7FFFFFFF; }, corrupt},
        {"a file that begins later", [](Cabinet& c) { c.fileOffset = 1; }, corrupt},
        {"a file from the cabinet before", [](Cabinet& c) { c.fileFolder = -3; }, corrupt},
        {"a file of another folder", [](Cabinet& c) { c.fileFolder = 1; }, corrupt},
        {"no name", [](Cabinet& c) { c.name.clear(); }, corrupt},
        {"a name of 256 bytes", [](Cabinet& c) { c.name.assign(256, 'x'); }, corrupt},
        {"another name", [](Cabinet& c) { c.name = std::string("x"); }, "11: FDIERROR_USER_ABORT"},
        {"the cabinet's own name", [](Cabinet& c) { c.name = std::string("//Compressed-Data//"); },
         "11: FDIERROR_USER_ABORT"},
        {"a short block before the last", [](Cabinet& c) { std::swap(c.blocks[0], c.blocks[1]); }, corrupt},
        {"a block without bytes",
         [](Cabinet& c) {
             c.blocks.push_back({Bytes("43 4B 03 00"), 0});
         },
         corrupt},
        {"a block that is too large", [](Cabinet& c) { c.blocks[0].uncompressedSize = 32769; }, corrupt},
        {"a payload behind the end", [](Cabinet& c) { c.blocks[1].payloadSizeTold = 6; }, corrupt},
        {"a payload without its mark", [](Cabinet& c) { c.blocks[1].payload[0] = 'c'; }, corrupt},
        {"a payload of one byte", [](Cabinet& c) { c.blocks[1].payload.resize(1); }, corrupt},
    };
    for (const auto& [what, change, fault] : cases) {
        Cabinet cabinet;
        change(cabinet);
        EXPECT_EQ(Fault(cabinet.Build()), fault) << what;
    }
    Cabinet cabinet;
    cabinet.missingSize = -1;
    EXPECT_EQ(Fault(cabinet.Build().append(Bytes("00"))), corrupt) << "a size behind the last block's end";
}

// The library does not check these: what a decoder of fixed blocks would write beyond or leave out.
TEST(CabinetLayout, RefusesPayloadsThatDoNotFillTheirBlock) {
    const ByteBuffer stored40000 = [] {
        // Two stored blocks of 20,000 bytes are more than a cabinet's block holds.
        ByteBuffer payload = Bytes("43 4B 00 20 4E DF B1");
        payload.resize(payload.size() + 20000);
        payload.append(Bytes("01 20 4E DF B1"));
        payload.resize(payload.size() + 18000);
        return payload;
    }();
    const struct {
        const char* what;
        ByteBuffer payload;
        int uncompressedSize;
        int checksum = 0;
    } cases[] = {
        {"a byte too many", Bytes("43 4B 4B 4C 4A 06 00"), 2},
        {"a byte too few", Bytes("43 4B 4B 4C 4A 06 00"), 4},
        {"much too few", Bytes("43 4B 4B 4C 4A 06 00"), 32768},
        {"an end before the data's end", Bytes("43 4B 4B 4C"), 3},
        {"nothing", Bytes("43 4B"), 3},
        {"an empty stream", Bytes("43 4B 03 00"), 3},
        {"a block of the reserved type", Bytes("43 4B 07 00 00 00"), 3},
        {"a stored block whose lengths differ", Bytes("43 4B 01 03 00 FF FF 61 62 63"), 3},
        {"a match before the start", Bytes("43 4B 4B 04 21 00 00"), 9},
        {"stored data beyond the block", stored40000, 32768},
        // Some decoders take the bits of a code that is empty for its first symbol.
        {"a match at a distance without a code", Bytes("43 4B 0D C0 01 09 00 00 00 80 A0 AD FD 3F 91 C4"), 4,
         -0x56C70251},
        {"compressed data beyond the block", Bytes("43 4B").append(Bytes(zeros32768)), 100},
    };
    for (const auto& [what, payload, uncompressedSize, checksum] : cases) {
        Cabinet cabinet;
        cabinet.blocks = {{payload, uncompressedSize, -1, checksum}};
        cabinet.fileSize = uncompressedSize;
        ByteBuffer out;
        EXPECT_THROW(CabCompressedBuffer::UncompressBuffer(cabinet.Build(), out), ExceptionCompression)
            << what;
    }
}

}  // namespace
