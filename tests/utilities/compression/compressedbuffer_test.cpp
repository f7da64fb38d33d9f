// Compressed buffer states to the byte, and what becomes of damaged ones.
#include "utilities/compression/compressedbuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/cabinetbuilder.h"
#include "support/throws.h"
#include "utilities/compression/cabcompressedbuffer.h"

struct CabCompressedBufferTestAccess {
    static ByteBuffer MakeZlibDataLookLikeCabinetData(const ByteBuffer& zlibData, LONG originalSize) {
        ByteBuffer out;
        CabCompressedBuffer::MakeZlibDataLookLikeCabinetData(zlibData, originalSize, out);
        return out;
    }
};

namespace {

using namespace cabinettest;

constexpr char emptyState[] = "02 FF FF FF FF 00 00 00 00 43 4F 4D 35";
constexpr char zlibOfAbc[] = "78 DA 4B 4C 4A 06 00 02 4D 01 27";
// 32,767 and 32,768 zero bytes.
constexpr char zlibOf32767Zeros[] =
    "78 DA ED C1 01 01 00 00 00 82 20 FF AF 6E 48 40 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 C0 BD 01 7F FF 00 01";
constexpr char zlibOf32768Zeros[] =
    "78 DA ED C1 01 01 00 00 00 80 90 FE AF EE 08 0A 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 18 80 00 00 01";

ByteBuffer StateOf(const ByteBuffer& data) {
    CabCompressedBuffer buffer;
    buffer.Store(data);
    return buffer.GetCompressedBufferState();
}

ByteBuffer DataOf(const ByteBuffer& state) {
    ByteBuffer data;
    CabCompressedBuffer::CreateWithBufferState(state)->GetOriginalData(data);
    return data;
}

/// A state whose last bytes are the given footer.
ByteBuffer WithFooter(ByteBuffer compressed, const char* footer) {
    return compressed.append(Bytes(footer));
}

ByteBuffer LastBytes(const ByteBuffer& bytes, std::size_t count) {
    return ByteBuffer(bytes.end() - static_cast<std::ptrdiff_t>(count), bytes.end());
}

/// What reading a state comes to: its data, or the name of the documented exception.
std::string Outcome(const ByteBuffer& state) {
    try {
        return Hex(DataOf(state));
    } catch (const ExceptionMissingOrBadCompressedBufferFooter& exception) {
        return exception.GetExceptionMesage().IsEmpty() ? "bad footer" : "bad footer with a message";
    } catch (const ExceptionIncompatibleCompressionFormat& exception) {
        return exception.GetExceptionMesage().IsEmpty() ? "incompatible" : "incompatible with a message";
    } catch (const ExceptionCompression&) {
        return "damaged";
    }
}

TEST(CompressedBuffer, HoldsTheFooterAloneWhileThereIsNoData) {
    CabCompressedBuffer buffer;
    EXPECT_EQ(Hex(buffer.GetCompressedBufferState()), emptyState);

    buffer.Store(Prose(100));
    buffer.Store(ByteBuffer());
    EXPECT_EQ(Hex(buffer.GetCompressedBufferState()), emptyState);
    EXPECT_EQ(buffer.GetOriginalDataSize(), 0);

    ByteBuffer out(5);
    buffer.GetOriginalData(out);
    EXPECT_TRUE(out.empty());
}

TEST(CompressedBuffer, GivesBackWhatWasStored) {
    for (const std::size_t size : {1u, 2u, 3u, 100u, 300u, 32767u, 32768u, 32769u, 65536u, 100000u}) {
        for (const ByteBuffer& data : {Prose(size), ByteBuffer(size)}) {
            const ByteBuffer state = StateOf(data);
            EXPECT_EQ(DataOf(state), data) << size;
            ByteBuffer sizeBytes = ByteBuffer().appendValues(static_cast<std::uint32_t>(size));
            std::reverse(sizeBytes.begin(), sizeBytes.end());
            EXPECT_EQ(Hex(LastBytes(state, 13)), "02 FF FF FF FF " + Hex(sizeBytes) + " 43 4F 4D 35") << size;
            EXPECT_EQ(StateOf(data), state) << "the same data must give the same bytes";
        }
    }
}

TEST(CompressedBuffer, CopiesAreIndependent) {
    CabCompressedBuffer buffer;
    buffer.Store(Prose(300));
    const std::unique_ptr<CompressedBuffer> clone = buffer.Clone();
    const CabCompressedBuffer copy(buffer);
    buffer.Store(Prose(5));
    EXPECT_EQ(clone->GetOriginalDataSize(), 300);
    EXPECT_EQ(clone->GetCompressedBufferState(), copy.GetCompressedBufferState());
    ByteBuffer out;
    clone->GetOriginalData(out);
    EXPECT_EQ(out, Prose(300));
}

TEST(CompressedBuffer, KeepsTheTailOfALongerState) {
    CabCompressedBuffer buffer;
    buffer.Store(Prose(5000));
    ByteBuffer expected = buffer.GetCompressedBufferState();
    buffer.Store(Prose(10));
    const ByteBuffer shortState = StateOf(Prose(10));
    std::copy(shortState.begin(), shortState.end() - 13, expected.begin());
    ByteBuffer compressed;
    buffer.GetCompressedData(compressed);
    EXPECT_EQ(compressed, expected);
    ByteBuffer out;
    buffer.GetOriginalData(out);
    EXPECT_EQ(out, Prose(10));
}

TEST(CompressedBuffer, RefusesFootersItDoesNotKnow) {
    const struct {
        const char* outcome;
        std::vector<const char*> states;
    } cases[] = {
        {"bad footer",
         {"", "43 4F 4D 35", "00 00 00 43 4F 4D 35", "02 FF FF FF FF 00 00 00 00 43 4F 4D 36",
          "02 FF FF FF FF 00 00 00 00 63 6F 6D 35"}},
        {"incompatible",
         {"00 00 00 00 43 4F 4D 50", "02 FF FF FF FF 00 00 00 00 43 4F 4D 50", "00 00 00 00 43 4F 4D 35",
          "FF FF FF FF 00 00 00 00 43 4F 4D 35", "00 00 00 00 43 4F 4D 34",
          "FF FF FF 00 00 00 00 43 4F 4D 34", "00 FF FF FF FF 00 00 00 00 43 4F 4D 35",
          "03 FF FF FF FF 00 00 00 00 43 4F 4D 35", "FF FF FF FF FF 00 00 00 00 43 4F 4D 35"}},
        {"", {"02 00 00 00 09 00 00 00 00 43 4F 4D 35", "02 00 00 00 09 FF FF FF FF 43 4F 4D 35"}},
        {"damaged", {"02 FF FF FF FF 00 00 00 01 43 4F 4D 35"}},
    };
    for (const auto& [outcome, states] : cases) {
        for (const char* const state : states) {
            EXPECT_EQ(Outcome(Bytes(state)), outcome) << state;
            if (*outcome == '\0' || *outcome == 'd') continue;
            ByteBuffer data = Bytes(state);
            EXPECT_FALSE(CabCompressedBuffer::TryToUncompressStateData(data)) << state;
            EXPECT_EQ(data, Bytes(state)) << "the bytes must stay untouched";
        }
    }
}

TEST(CompressedBuffer, UpgradesZlibData) {
    const struct {
        std::string zlibData;
        const char* setting;
        const char* originalSize;
        ByteBuffer data;
    } cases[] = {
        {zlibOfAbc, "00 00 00 06", "00 00 00 03", Bytes("61 62 63")},
        {zlibOf32767Zeros, "FF FF FF FF", "00 00 7F FF", ByteBuffer(32767)},
        {"78 DA 03 00 00 00 00 01", "00 00 00 09", "00 00 00 00", ByteBuffer()},
        {"", "00 00 00 09", "00 00 00 00", ByteBuffer()},
    };
    for (const auto& [zlibData, setting, originalSize, data] : cases) {
        const std::string middle = std::string(setting) + " " + originalSize + " ";
        const ByteBuffer old = WithFooter(Bytes(zlibData), (middle + "43 4F 4D 34").c_str());
        for (const ByteBuffer& state :
             {old, WithFooter(Bytes(zlibData), ("01 " + middle + "43 4F 4D 35").c_str())}) {
            const auto buffer = CabCompressedBuffer::CreateWithBufferState(state);
            const ByteBuffer upgraded = buffer->GetCompressedBufferState();
            EXPECT_EQ(Hex(LastBytes(upgraded, 13)), "02 " + middle + "43 4F 4D 35");
            EXPECT_EQ(DataOf(upgraded), data);
        }
    }
}

TEST(CompressedBuffer, RefusesZlibDataThatCannotBecomeACabinet) {
    const struct {
        std::string zlibData;
        const char* originalSize;
    } cases[] = {{zlibOf32768Zeros, "00 00 80 00"},           // a byte more than a block holds
                 {zlibOf32768Zeros, "00 00 7F FF"},           // a size smaller than the data
                 {zlibOfAbc, "00 00 00 04"},                  // a size larger than the data
                 {zlibOfAbc, "00 00 00 02"},                  //
                 {zlibOfAbc, "FF FF FF FF"},                  // a negative size
                 {"78 DA 4B 4C", "00 00 00 03"},              // cut data
                 {"78 DA FF FF FF FF FF FF", "00 00 00 03"},  // no deflate data
                 {"", "00 00 00 03"}};
    for (const auto& [zlibData, originalSize] : cases) {
        const std::string footer = std::string("FF FF FF FF ") + originalSize + " 43 4F 4D 34";
        EXPECT_EQ(Outcome(WithFooter(Bytes(zlibData), footer.c_str())), "incompatible") << zlibData << footer;
    }
}

TEST(CompressedBuffer, WrapsZlibDataToTheByte) {
    EXPECT_EQ(
        Hex(CabCompressedBufferTestAccess::MakeZlibDataLookLikeCabinetData(Bytes(zlibOfAbc), 3)),
        "4D 53 43 46 00 00 00 00 66 00 00 00 00 00 00 00 2C 00 00 00 00 00 00 00 03 01 01 00 01 00 00 00 "
        "00 00 00 00 53 00 00 00 01 00 01 00 03 00 00 00 00 00 00 00 00 00 6C 22 BA 59 00 00 2F 2F 55 6E "
        "63 6F 6D 70 72 65 73 73 65 64 2D 44 61 74 61 2F 2F 00 00 00 00 00 00 0B 00 03 00 43 4B 4B 4C 4A "
        "06 00 02 4D 01 27");
    const ByteBuffer longest(0xFFFF);
    EXPECT_EQ(CabCompressedBufferTestAccess::MakeZlibDataLookLikeCabinetData(longest, 0xFFFF).size(),
              91 + 0xFFFF);
    EXPECT_TRUE(
        CabCompressedBufferTestAccess::MakeZlibDataLookLikeCabinetData(ByteBuffer(0x10000), 1).empty());
    EXPECT_TRUE(CabCompressedBufferTestAccess::MakeZlibDataLookLikeCabinetData(longest, 0x10000).empty());
}

TEST(CompressedBuffer, DamageGivesTheDataOrADocumentedException) {
    const ByteBuffer data = Bytes("00 01 02 03 00 01 02 03 41 42 43 44 41 42 43 44");
    const ByteBuffer state = StateOf(data);
    const auto expectDocumented = [&](const ByteBuffer& damaged, std::size_t where) {
        const std::string outcome = Outcome(damaged);
        // Nothing protects the footer's size: one below 1 makes the buffer an empty one.
        const bool inSize = where >= state.size() - 8 && where < state.size() - 4;
        const bool documented = outcome == Hex(data) || outcome == "damaged" || outcome == "incompatible" ||
                                outcome == "bad footer" || (outcome.empty() && inSize);
        EXPECT_TRUE(documented) << "byte " << where << ": " << outcome;
    };
    for (std::size_t where = 0; where < state.size(); ++where) {
        ByteBuffer cut(state.data(), static_cast<DWORD>(where));
        expectDocumented(cut, where);
        // The cabinet cut short under an intact footer.
        const bool isInCabinet = where < state.size() - 13;
        EXPECT_EQ(Outcome(cut.append(LastBytes(state, 13))) == "damaged", isInCabinet) << where;
        for (int bit = 0; bit < 8; ++bit) {
            ByteBuffer damaged = state;
            damaged[where] = static_cast<BYTE>(damaged[where] ^ 1 << bit);
            expectDocumented(damaged, where);
        }
    }
}

TEST(CompressedBuffer, RefusesSizesThatTheCabinetCannotJustify) {
    const ByteBuffer state = StateOf(Prose(300));
    ByteBuffer compressed(state.begin(), state.end() - 13);
    for (const char* size : {"00 00 01 2B", "00 00 01 2D", "00 01 00 00", "00 10 00 00", "7F FF FF FF"}) {
        const std::string footer = std::string("02 FF FF FF FF ") + size + " 43 4F 4D 35";
        EXPECT_EQ(Outcome(WithFooter(compressed, footer.c_str())), "damaged") << size;
    }

    for (const ByteBuffer& lying :
         {WithFooter(compressed, "02 FF FF FF FF 7F FF FF FF 43 4F 4D 35"),
          WithFooter(ByteBuffer(100000, 0x4D), "02 FF FF FF FF 06 00 00 00 43 4F 4D 35")}) {
        ByteBuffer out = Bytes("AA BB");
        EXPECT_THROW(CabCompressedBuffer::CreateWithBufferState(lying)->GetOriginalData(out),
                     ExceptionCompression);
        EXPECT_EQ(Hex(out), "AA BB") << "nothing may be allocated for such a size";
    }
}

TEST(CompressedBuffer, TryToUncompressLeavesZeroBytesWhenTheCabinetIsDamaged) {
    ByteBuffer data = StateOf(Bytes("01 02 03"));
    data[0] = 0;
    EXPECT_FALSE(CabCompressedBuffer::TryToUncompressStateData(data));
    EXPECT_EQ(Hex(data), "00 00 00");

    data = StateOf(Bytes("01 02 03"));
    EXPECT_TRUE(CabCompressedBuffer::TryToUncompressStateData(data));
    EXPECT_EQ(Hex(data), "01 02 03");
}

TEST(CompressedBuffer, FactoriesFromDataAlwaysFail) {
    for (const int size : {0, 20, 0x7FFFFFFF, -1}) {
        EXPECT_THROW(CabCompressedBuffer::CreateWithUncompressedData(Bytes("01"), size),
                     ExceptionMissingOrBadCompressedBufferFooter);
    }
    EXPECT_THROW(CabCompressedBuffer::CreateWithCompressedData(StateOf(Bytes("01"))),
                 ExceptionMissingOrBadCompressedBufferFooter);
    EXPECT_THROW(CabCompressedBuffer::CreateWithCompressedData(Bytes("01")), ExceptionCompression);
}

TEST(CabCompressedBuffer, WritesOverItsOutputAndNeverShortensIt) {
    const ByteBuffer data = Bytes("61 62 63");
    ByteBuffer cabinet;
    CabCompressedBuffer::CompressBuffer(data.getLpbyte(), data.getDword(), cabinet, -1);
    ByteBuffer longer(cabinet.size() + 2, 0xEE);
    CabCompressedBuffer::CompressBuffer(data.getLpbyte(), data.getDword(), longer, 9);
    EXPECT_EQ(Hex(longer), Hex(cabinet) + " EE EE");

    ByteBuffer out = Bytes("01 02 03 04 05");
    CabCompressedBuffer::UncompressBuffer(longer, out);
    EXPECT_EQ(Hex(out), "61 62 63 04 05");

    ByteBuffer both = cabinet;
    ByteBuffer member = cabinet;
    CabCompressedBuffer::UncompressBuffer(both, both);
    CabCompressedBuffer().UncompressData(member, 3, member);
    std::copy(data.begin(), data.end(), cabinet.begin());
    EXPECT_EQ(both, cabinet) << "a buffer may be unpacked over itself";
    EXPECT_EQ(member, cabinet);
}

TEST(CabCompressedBuffer, RefusesToCompressWithoutABuffer) {
    ByteBuffer out;
    EXPECT_EQ(
        MessageOf<ExceptionCompression>([&] { CabCompressedBuffer::CompressBuffer(nullptr, 4, out, -1); }),
        "1: FCIERR_OPEN_SRC (Failure opening file to be stored in cabinet) (err type=2) "
        "CabBufferAsFile::DoOpenCabFile(): There's no buffer specified to serve as the pseudo-file "
        "(all possible buffer pointers are NULL)!File operation \"open\" failed with error 2.  while "
        "preparing to call FCIAddFile in CabCompressionContext::AddFile()");
}

TEST(CabCompressedBuffer, WritesOneFolderWithOneFile) {
    using namespace platform::cabinet;
    const ByteBuffer state = StateOf(Prose(40000));
    const auto begin = Decode<FolderEntry>(state.data() + encodedSize<Header>).dataOffset;
    std::vector<Block> blocks;
    for (const BYTE* next = state.data() + begin; next + 13 != state.data() + state.size();) {
        const auto header = Decode<DataHeader>(next);
        const ByteBuffer payload(next + encodedSize<DataHeader>, header.payloadSize);
        blocks.push_back({payload, blocks.empty() ? 32768u : 7232u, BlockChecksum(header, payload)});
        next += encodedSize<DataHeader> + payload.size();
    }
    const ByteBuffer cabinet =
        CabinetBuilder()
            .Folder(tcompTYPE_MSZIP, blocks)
            .File("//Uncompressed-Data//", {.size = 40000, .date = 0x226C, .time = 0x59BA})
            .Damage([](Records& r) { r.header.cabinetIndex = 1; })
            .Build();
    EXPECT_EQ(Hex(state), Hex(WithFooter(cabinet, "02 FF FF FF FF 00 00 9C 40 43 4F 4D 35")));
}

TEST(CabCompressedBuffer, ReadsTheStatesOfBothBuilds) {
    constexpr struct {
        const char* writer;
        const char* state;
    } cases[] = {
        {"native",
         "4D 53 43 46 00 00 00 00 6B 00 00 00 00 00 00 00 2C 00 00 00 00 00 00 00 03 01 01 00 01 00 00 00 "
         "39 30 01 00 52 00 00 00 01 00 01 00 0A 00 00 00 00 00 00 00 00 00 6C 22 BA 59 00 00 2F 2F 55 6E "
         "63 6F 6D 70 72 65 73 73 65 64 2D 44 61 74 61 2F 2F 00 5D A1 F0 0B 11 00 0A 00 43 4B 01 0A 00 F5 "
         "FF 12 06 0D 03 13 0F 12 07 00 06 02 FF FF FF FF 00 00 00 0A 43 4F 4D 35"},
        {"Windows",
         "4D 53 43 46 00 00 00 00 68 00 00 00 00 00 00 00 2C 00 00 00 00 00 00 00 03 01 01 00 01 00 00 00 "
         "39 30 01 00 52 00 00 00 01 00 01 00 0A 00 00 00 00 00 00 00 00 00 6C 22 BA 59 00 00 2F 2F 55 6E "
         "63 6F 6D 70 72 65 73 73 65 64 2D 44 61 74 61 2F 2F 00 B9 4F 68 E4 0E 00 0A 00 43 4B 13 62 E3 65 "
         "16 E6 17 62 67 60 03 00 02 FF FF FF FF 00 00 00 0A 43 4F 4D 35"},
    };
    for (const auto& [writer, state] : cases)
        EXPECT_EQ(DataOf(Bytes(state)), Bytes("12 06 0D 03 13 0F 12 07 00 06")) << writer;
}

TEST(CabCompressedBuffer, ThreadsCompressAtOnce) {
    std::vector<std::thread> threads;
    std::vector<int> good(8);
    for (std::size_t i = 0; i < good.size(); ++i) {
        threads.emplace_back([&good, i] {
            const ByteBuffer data = Prose(1000 * i + 1);
            for (int round = 0; round < 20; ++round)
                good[i] += DataOf(StateOf(data)) == data;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, std::vector<int>(8, 20));
}

}  // namespace
