// The platform's cabinet library, whichever stands behind it: what both must do.
#include <gtest/gtest.h>

#include "platform/module.h"
#include "support/cabinettools.h"

namespace {

using namespace cabinettest;
using namespace platform::cabinet;

const ByteBuffer abc = BytesOf("abc");

TEST(Module, FindsFunctionsByExactNameInModulesByAnyCase) {
    const platform::Module module = platform::LoadModule("CABINET.dll");
    ASSERT_NE(module, nullptr);
    EXPECT_NE(platform::FindModuleFunction(module, "FCICreate"), nullptr);
    EXPECT_EQ(platform::FindModuleFunction(module, "fcicreate"), nullptr);
    EXPECT_EQ(platform::FindModuleFunction(nullptr, "FCICreate"), nullptr);
    platform::UnloadModule(module);
    EXPECT_EQ(platform::LoadModule("nosuchmodule.dll"), nullptr);
    EXPECT_EQ(platform::LoadModule(""), nullptr);
    platform::UnloadModule(nullptr);
}

TEST(Cabinet, RoundTripsEverySizeAroundABlock) {
    for (const WORD compression : {tcompTYPE_NONE, tcompTYPE_MSZIP}) {
        for (const std::size_t size : {1u, 2300u, 32767u, 32768u, 32769u, 65536u, 1u << 20}) {
            for (const ByteBuffer& bytes : {Noise(size), Prose(size)}) {
                const Outcome packed = Pack({{"a", bytes}}, compression);
                EXPECT_EQ(Unpack(packed.cabinet).files, (FileMap{{"a", bytes}}))
                    << size << ' ' << compression;
            }
        }
    }
    EXPECT_LT(Pack({{"a", Prose(1 << 20)}}, tcompTYPE_MSZIP).cabinet.size(), (1 << 20) / 5u);
}

/// The only cabinet of a set, with one stored file.
CabinetBuilder Written(const ByteBuffer& bytes, std::uint32_t checksum) {
    return CabinetBuilder()
        .Folder(tcompTYPE_NONE, {{bytes, bytes.size(), checksum}})
        .File("a", {.size = static_cast<std::uint32_t>(bytes.size()),
                    .date = MemoryFiles::fileDate,
                    .time = MemoryFiles::fileTime,
                    .attributes = MemoryFiles::fileAttributes})
        .Damage([](Records& r) { r.header.cabinetIndex = 1; });
}

TEST(Cabinet, WritesTheDocumentedBytes) {
    // Words 0x04030201 and, from the last three bytes, 0x050607; sizes 7 and 7.
    const ByteBuffer seven = Bytes("01 02 03 04 05 06 07");
    EXPECT_EQ(Hex(Pack({{"a", seven}}, tcompTYPE_NONE).cabinet),
              Hex(Written(seven, 0x04030201 ^ 0x00050607 ^ 0x00070007).Build()));

    CCAB parameters = UsualParameters();
    parameters.cbReserveCFHeader = 20;
    parameters.cbReserveCFFolder = 3;
    parameters.cbReserveCFData = 5;
    const ByteBuffer reserved = Pack({{"a", abc}}, tcompTYPE_NONE, parameters).cabinet;
    const ByteBuffer header(20), folder(3), block(5);
    EXPECT_EQ(Hex(reserved),
              Hex(Written(abc, 0x00616263 ^ 0x00030003).Reserve(header, folder, block).Build()));
    EXPECT_EQ(Unpack(reserved).files["a"], abc);
}

TEST(Cabinet, NotifiesOfEveryFileInOrder) {
    const ByteBuffer large = Prose(50000);
    const ByteBuffer cabinet =
        Pack({{"one", large}, {"skipped", Noise(70000)}, {"empty", {}}, {"two", abc}}, tcompTYPE_MSZIP)
            .cabinet;
    const Outcome unpacked = Unpack(cabinet);
    EXPECT_TRUE(unpacked.succeeded);
    const std::vector<std::string> events = {"cabinet [] [] [//folder//] 12345 1",
                                             "copy one 50000",
                                             "close one 8812 22970 33",
                                             "copy skipped 70000",
                                             "copy empty 0",
                                             "close empty 8812 22970 33",
                                             "copy two 3",
                                             "close two 8812 22970 33"};
    EXPECT_EQ(unpacked.events, events);
    EXPECT_EQ(unpacked.files, (FileMap{{"one", large}, {"empty", {}}, {"two", abc}}));

    const auto info = Describe(cabinet);
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->cbCabinet, static_cast<LONG>(cabinet.size()));
    EXPECT_EQ(info->cFolders, 1);
    EXPECT_EQ(info->cFiles, 4);
    EXPECT_EQ(info->setID, 12345);
    EXPECT_EQ(info->iCabinet, 1);
    EXPECT_FALSE(info->fReserve || info->hasprev || info->hasnext);
    EXPECT_FALSE(Describe(Prose(100)).has_value());
}

TEST(Cabinet, ReadsWhatAValidCabinetMayHold) {
    const std::uint32_t sum = 0x03014B43 ^ 0x61FFFC00 ^ 0x00006263 ^ 0x0003000A;  // the last are the sizes
    for (const std::uint32_t checksum : {std::uint32_t{0}, sum}) {
        CabinetBuilder reserves = OneFile(tcompTYPE_MSZIP, 3, {{StoredMszip(abc), 3, checksum}});
        EXPECT_EQ(Unpack(reserves.Reserve(Noise(300), Noise(9), Noise(255))).files["a"], abc)
            << "reserved areas, which no checksum covers";
    }
    EXPECT_EQ(Unpack(CabinetBuilder()
                         .Folder(tcompTYPE_NONE, {{abc, 3}})
                         .Folder(tcompTYPE_MSZIP, {{StoredMszip(abc), 3}})
                         .File("a", {.size = 3})
                         .File("b", {.size = 3, .folder = 1}))
                  .files,
              (FileMap{{"a", abc}, {"b", abc}}))
        << "two folders";

    Outcome shared = Unpack(OneFile(tcompTYPE_NONE, 32771, {{Noise(32768), 32768}, {abc, 3}})
                                .File("b", {.size = 3, .offset = 32768})
                                .File("c", {.size = 2, .offset = 5}));
    const ByteBuffer noise = Noise(32768);
    EXPECT_EQ(shared.files["a"], ByteBuffer(noise).append(abc));
    EXPECT_EQ(shared.files["b"], abc) << "a file that shares its data";
    EXPECT_EQ(shared.files["c"], ByteBuffer(noise.data() + 5, 2)) << "a file that goes back";

    const ByteBuffer trailed = StoredMszip(abc).append(Bytes("12 34 56 78"));
    EXPECT_EQ(
        Unpack(OneFile(tcompTYPE_MSZIP, 3, {{trailed, 3}}).Build().append(Bytes("FF FF FF"))).files["a"], abc)
        << "bytes after the deflate stream and after the cabinet";

    Outcome before = Unpack(OneFile(tcompTYPE_MSZIP, 32768 + 258,
                                    {{StoredMszip(noise), 32768}, {MatchAtLargestDistance(), 258}}));
    EXPECT_EQ(before.files["a"], ByteBuffer(noise).append(ByteBuffer(noise.data(), 258)))
        << "a block that refers to the whole block before";
}

TEST(Cabinet, ReportsAMissingCabinet) {
    const MemoryFiles set;
    EXPECT_EQ(Unpack("missing.cab").errors.erfOper, FDIERROR_CABINET_NOT_FOUND);
}

}  // namespace
