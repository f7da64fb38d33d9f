// The platform's cabinet library, whichever stands behind it: what both must do.
#include <gtest/gtest.h>

#include <algorithm>

#include "cabinettools.h"
#include "platform/cabinet.h"
#include "platform/module.h"

namespace {

using namespace cabinettest;
using namespace platform::cabinet;
using Block = HandMadeCabinet::Block;

const Bytes abc = {'a', 'b', 'c'};

TEST(Module, FindsFunctionsByExactNameInModulesByAnyCase) {
    const platform::Module module = platform::LoadModule("CABINET.dll");
    ASSERT_NE(module, nullptr);
    for (const char* name : {"FCICreate", "FCIAddFile", "FCIFlushCabinet", "FCIFlushFolder", "FCIDestroy",
                             "FDICreate", "FDIIsCabinet", "FDICopy", "FDIDestroy"}) {
        EXPECT_NE(platform::FindModuleFunction(module, name), nullptr) << name;
    }
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
            for (const Bytes& bytes : {Noise(size), Prose(size)}) {
                SCOPED_TRACE(testing::Message() << size << " bytes, compression " << compression);
                MemoryFiles set;
                const Outcome packed = Pack(set, {{"//Uncompressed-Data//", bytes}}, compression);
                ASSERT_TRUE(packed.succeeded);
                const Outcome unpacked = Unpack(packed.cabinet);
                ASSERT_TRUE(unpacked.succeeded);
                EXPECT_EQ(unpacked.files.at("//Uncompressed-Data//"), bytes);
            }
        }
    }
}

TEST(Cabinet, CompressesProse) {
    MemoryFiles set;
    EXPECT_LT(Pack(set, {{"a", Prose(1 << 20)}}, tcompTYPE_MSZIP).cabinet.size(), (1 << 20) / 5u);
}

TEST(Cabinet, WritesTheDocumentedBytes) {
    MemoryFiles set;
    const Outcome packed = Pack(set, {{"a", {1, 2, 3, 4, 5, 6, 7}}}, tcompTYPE_NONE);
    // Words 0x04030201 and, from the last three bytes, 0x050607; sizes 7 and 7.
    const std::uint32_t checksum = 0x04030201 ^ 0x00050607 ^ 0x00070007;
    HandMadeCabinet expected = OneFile(tcompTYPE_NONE, 7, {{{1, 2, 3, 4, 5, 6, 7}, 7, checksum}});
    expected.index = 1;
    EXPECT_EQ(packed.cabinet, expected.Build());
}

TEST(Cabinet, ReservesAreasOnRequest) {
    CCAB parameters = UsualParameters();
    parameters.cbReserveCFHeader = 20;
    parameters.cbReserveCFFolder = 3;
    parameters.cbReserveCFData = 5;
    MemoryFiles set;
    const Outcome packed = Pack(set, {{"a", abc}}, tcompTYPE_NONE, parameters);
    HandMadeCabinet expected = OneFile(tcompTYPE_NONE, 3, {{abc, 3, 0x00616263 ^ 0x00030003}});
    expected.flags = 4;
    expected.index = 1;
    expected.headerReserve = Bytes(20);
    expected.folderReserve = Bytes(3);
    expected.dataReserve = Bytes(5);
    EXPECT_EQ(packed.cabinet, expected.Build());
    EXPECT_EQ(Unpack(packed.cabinet).files.at("a"), abc);
}

TEST(Cabinet, NotifiesOfEveryFileInOrder) {
    MemoryFiles set;
    const Bytes large = Prose(50000);
    const Outcome packed =
        Pack(set, {{"one", large}, {"skipped", Noise(70000)}, {"empty", {}}, {"two", abc}}, tcompTYPE_MSZIP);
    const Outcome unpacked = Unpack(packed.cabinet);
    ASSERT_TRUE(unpacked.succeeded);
    const std::vector<std::string> events = {
        "cabinet [] [] [//folder//] set 12345 index 1",
        "copy one 50000",
        "close one date 8812 time 22970 attributes 33",
        "copy skipped 70000",
        "copy empty 0",
        "close empty date 8812 time 22970 attributes 33",
        "copy two 3",
        "close two date 8812 time 22970 attributes 33",
    };
    EXPECT_EQ(unpacked.events, events);
    EXPECT_EQ(unpacked.files, (std::map<std::string, Bytes>{{"one", large}, {"empty", {}}, {"two", abc}}));
}

TEST(Cabinet, DescribesACabinet) {
    MemoryFiles set;
    const Bytes cabinet = Pack(set, {{"a", abc}, {"b", abc}}, tcompTYPE_MSZIP).cabinet;
    ERF errors{};
    const auto info = Describe(cabinet, errors);
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->cbCabinet, static_cast<LONG>(cabinet.size()));
    EXPECT_EQ(info->cFolders, 1);
    EXPECT_EQ(info->cFiles, 2);
    EXPECT_EQ(info->setID, 12345);
    EXPECT_EQ(info->iCabinet, 1);
    EXPECT_FALSE(info->fReserve || info->hasprev || info->hasnext);

    EXPECT_FALSE(Describe(Prose(100), errors).has_value());
}

TEST(Cabinet, LetsABlockReferToTheWholeBlockBefore) {
    const Bytes noise = Noise(32768);
    const Bytes cabinet =
        OneFile(tcompTYPE_MSZIP, 32768 + 258, {{StoredMszip(noise), 32768}, {MatchAtLargestDistance(), 258}})
            .Build();
    Bytes expected = noise;
    expected.insert(expected.end(), noise.begin(), noise.begin() + 258);
    EXPECT_EQ(Unpack(cabinet).files["a"], expected);
}

TEST(Cabinet, ReadsWhatAValidCabinetMayHold) {
    HandMadeCabinet reserves = OneFile(tcompTYPE_MSZIP, 3, {{StoredMszip(abc), 3}});
    reserves.flags = 4;
    reserves.headerReserve = Noise(300);
    reserves.folderReserve = Noise(9);
    reserves.dataReserve = Noise(255);
    const std::uint32_t sum = 0x03014B43 ^ 0x61FFFC00 ^ 0x00006263 ^ 0x0003000A;  // the last are the sizes
    for (const std::uint32_t checksum : {std::uint32_t{0}, sum}) {
        reserves.folders[0].blocks[0].checksum = checksum;
        EXPECT_EQ(Unpack(reserves.Build()).files["a"], abc) << "reserved areas, which no checksum covers";
    }

    HandMadeCabinet folders;
    folders.folders = {{tcompTYPE_NONE, {{abc, 3}}}, {tcompTYPE_MSZIP, {{StoredMszip(abc), 3}}}};
    folders.files = {{"a", 3, 0, 0}, {"b", 3, 0, 1}};
    EXPECT_EQ(Unpack(folders.Build()).files, (std::map<std::string, Bytes>{{"a", abc}, {"b", abc}}))
        << "two folders";

    HandMadeCabinet shared = OneFile(tcompTYPE_NONE, 32771, {{Noise(32768), 32768}, {abc, 3}});
    shared.files = {{"whole", 32771, 0, 0}, {"b", 3, 32768, 0}, {"c", 2, 5, 0}};
    const Bytes noise = Noise(7);
    EXPECT_EQ(Unpack(shared.Build()).files["b"], abc) << "a file that shares its data";
    EXPECT_EQ(Unpack(shared.Build()).files["c"], Bytes(noise.begin() + 5, noise.end()))
        << "a file that goes back";

    Bytes trailed = StoredMszip(abc);
    trailed.insert(trailed.end(), {0x12, 0x34, 0x56, 0x78});
    Bytes trailer = OneFile(tcompTYPE_MSZIP, 3, {{trailed, 3}}).Build();
    trailer.insert(trailer.end(), 13, 0xFF);
    EXPECT_EQ(Unpack(trailer).files["a"], abc) << "bytes after the deflate stream and after the cabinet";
}

TEST(Cabinet, RefusesDamage) {
    const Bytes payload = StoredMszip(abc);
    Bytes wrongLength = payload;
    wrongLength[3] = 2;
    const struct {
        const char* name;
        HandMadeCabinet cabinet;
    } cases[] = {
        {"wrong checksum", OneFile(tcompTYPE_NONE, 3, {{abc, 3, 0x12345678}})},
        {"file beyond its folder", OneFile(tcompTYPE_NONE, 4, {{abc, 3}})},
        {"no blocks", OneFile(tcompTYPE_NONE, 1, {})},
        {"stored block of another size", OneFile(tcompTYPE_MSZIP, 3, {{wrongLength, 3}})},
        {"no signature", OneFile(tcompTYPE_MSZIP, 3, {{abc, 3}})},
        {"unknown compression", OneFile(9, 3, {{abc, 3}})},
    };
    for (const auto& damaged : cases) {
        const Outcome unpacked = Unpack(damaged.cabinet.Build());
        EXPECT_FALSE(unpacked.succeeded) << damaged.name;
        EXPECT_TRUE(unpacked.errors.fError) << damaged.name;
        EXPECT_NE(unpacked.errors.erfOper, FDIERROR_NONE) << damaged.name;
    }
}

TEST(Cabinet, RefusesEveryTruncation) {
    MemoryFiles set;
    const Bytes cabinet = Pack(set, {{"a", Prose(300)}}, tcompTYPE_MSZIP).cabinet;
    for (std::size_t size = 0; size < cabinet.size(); ++size) {
        const Outcome unpacked =
            Unpack(Bytes(cabinet.begin(), cabinet.begin() + static_cast<std::ptrdiff_t>(size)));
        EXPECT_FALSE(unpacked.succeeded) << size << " bytes";
    }
}

TEST(Cabinet, ReportsAMissingCabinet) {
    MemoryFiles set;
    ERF errors{};
    const HFDI context = CreateFdi(errors);
    char name[] = "missing.cab";
    char path[] = "";
    EXPECT_FALSE(
        CabinetLibrary::Get().fdiCopy(context, name, path, 0, &RecordNotification, nullptr, nullptr));
    EXPECT_EQ(errors.erfOper, FDIERROR_CABINET_NOT_FOUND);
    CabinetLibrary::Get().fdiDestroy(context);
}

}  // namespace
