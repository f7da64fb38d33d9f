// The built-in cabinet library: its exact error codes, its limits, and what it does with hostile bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>

#include "../cabinettools.h"
#include "platform/cabinet.h"

namespace {

using namespace cabinettest;
using namespace platform::cabinet;

const Bytes abc = {'a', 'b', 'c'};

Bytes WithByte(Bytes bytes, std::size_t offset, BYTE value) {
    bytes.at(offset) = value;
    return bytes;
}

HandMadeCabinet FileIn(std::uint16_t folder, std::uint32_t offset, std::uint32_t size) {
    HandMadeCabinet cabinet = OneFile(tcompTYPE_NONE, size, {{abc, 3}});
    cabinet.files[0].folder = folder;
    cabinet.files[0].offset = offset;
    return cabinet;
}

TEST(BuiltInCabinet, RefusesWithTheDocumentedCodes) {
    const Bytes valid = OneFile(tcompTYPE_NONE, 3, {{abc, 3}}).Build();
    HandMadeCabinet endlessName = OneFile(tcompTYPE_NONE, 3, {{abc, 3}});
    endlessName.files[0].name = std::string(256, 'n');
    HandMadeCabinet otherFolder = OneFile(tcompTYPE_MSZIP, 32768, {{StoredMszip(Noise(32768)), 32768}});
    otherFolder.folders.push_back({tcompTYPE_MSZIP, {{MatchAtLargestDistance(), 258}}});
    otherFolder.files.push_back({"b", 258, 0, 1});
    const Bytes largeBlock = Noise(32768 + 6145);
    const struct {
        const char* name;
        Bytes cabinet;
        FDIERROR expected;
    } cases[] = {
        {"nothing", {}, FDIERROR_NOT_A_CABINET},
        {"signature", WithByte(valid, 3, 'G'), FDIERROR_NOT_A_CABINET},
        {"short header", Bytes(valid.begin(), valid.begin() + 35), FDIERROR_NOT_A_CABINET},
        {"minor version", WithByte(valid, 24, 4), FDIERROR_UNKNOWN_CABINET_VERSION},
        {"major version", WithByte(valid, 25, 2), FDIERROR_UNKNOWN_CABINET_VERSION},
        {"no folders", WithByte(valid, 26, 0), FDIERROR_CORRUPT_CABINET},
        {"no files", WithByte(valid, 28, 0), FDIERROR_CORRUPT_CABINET},
        {"more files than bytes", WithByte(valid, 29, 1), FDIERROR_CORRUPT_CABINET},
        {"files inside the header", WithByte(valid, 16, 35), FDIERROR_CORRUPT_CABINET},
        {"size above 2 GiB", WithByte(valid, 11, 0x80), FDIERROR_CORRUPT_CABINET},
        {"size below the data", WithByte(valid, 8, valid[8] - 1), FDIERROR_CORRUPT_CABINET},
        {"endless name", endlessName.Build(), FDIERROR_CORRUPT_CABINET},
        {"folder number", FileIn(1, 0, 3).Build(), FDIERROR_CORRUPT_CABINET},
        {"file size", FileIn(0, 0, 0x80000000).Build(), FDIERROR_CORRUPT_CABINET},
        {"file end", FileIn(0, 0xFFFFFFFF, 3).Build(), FDIERROR_CORRUPT_CABINET},
        {"file after the data", FileIn(0, 3, 1).Build(), FDIERROR_CORRUPT_CABINET},
        {"checksum", OneFile(tcompTYPE_NONE, 3, {{abc, 3, 1}}).Build(), FDIERROR_CORRUPT_CABINET},
        {"stored sizes", OneFile(tcompTYPE_NONE, 3, {{abc, 4}}).Build(), FDIERROR_CORRUPT_CABINET},
        {"data of a block", OneFile(tcompTYPE_MSZIP, 3, {{StoredMszip(abc), 32769}}).Build(),
         FDIERROR_CORRUPT_CABINET},
        {"payload of a block", OneFile(tcompTYPE_MSZIP, 3, {{largeBlock, 3}}).Build(),
         FDIERROR_CORRUPT_CABINET},
        {"unfinished block", OneFile(tcompTYPE_MSZIP, 3, {{StoredMszip(abc), 0}}).Build(),
         FDIERROR_CORRUPT_CABINET},
        {"MSZIP signature", OneFile(tcompTYPE_MSZIP, 3, {{abc, 3}}).Build(), FDIERROR_MDI_FAIL},
        {"MSZIP without signature", OneFile(tcompTYPE_MSZIP, 3, {{{'C'}, 3}}).Build(), FDIERROR_MDI_FAIL},
        {"MSZIP without stream", OneFile(tcompTYPE_MSZIP, 3, {{{'C', 'K'}, 3}}).Build(), FDIERROR_MDI_FAIL},
        {"too little data", OneFile(tcompTYPE_MSZIP, 3, {{StoredMszip(abc), 4}}).Build(), FDIERROR_MDI_FAIL},
        {"too much data", OneFile(tcompTYPE_MSZIP, 2, {{StoredMszip(abc), 2}}).Build(), FDIERROR_MDI_FAIL},
        {"reference before the folder",
         OneFile(tcompTYPE_MSZIP, 258, {{MatchAtLargestDistance(), 258}}).Build(), FDIERROR_MDI_FAIL},
        {"reference into another folder", otherFolder.Build(), FDIERROR_MDI_FAIL},
        {"Quantum", OneFile(tcompTYPE_QUANTUM, 3, {{abc, 3}}).Build(), FDIERROR_BAD_COMPR_TYPE},
        {"LZX", OneFile(tcompTYPE_LZX | 0x1500, 3, {{abc, 3}}).Build(), FDIERROR_MDI_FAIL},
        {"LZX without a window", OneFile(tcompTYPE_LZX, 3, {{abc, 3}}).Build(), FDIERROR_BAD_COMPR_TYPE},
        {"another method", OneFile(4, 3, {{abc, 3}}).Build(), FDIERROR_BAD_COMPR_TYPE},
    };
    for (const auto& refused : cases) {
        const Outcome unpacked = Unpack(refused.cabinet);
        EXPECT_FALSE(unpacked.succeeded) << refused.name;
        EXPECT_TRUE(unpacked.errors.fError) << refused.name;
        EXPECT_EQ(unpacked.errors.erfOper, refused.expected) << refused.name;
    }
}

TEST(BuiltInCabinet, ReadsNothingOfOthersInFrontOfTheData) {
    HandMadeCabinet cabinet;
    cabinet.folders = {QuantumFolder()};
    Bytes& payload = cabinet.folders[0].blocks[0].payload;
    payload[0] = 0x72, payload[2] = 0xA1, payload[4] = 0x69;  // now with matches that reach back too far
    cabinet.files = {{"a", 32, 0, 0}};
    std::vector<Bytes> results;
    for (const BYTE secret : {BYTE{0x5A}, BYTE{0xA5}}) {
        std::vector<Bytes>(300, Bytes(1024, secret)).clear();  // what the heap had before
        results.push_back(Unpack(cabinet.Build()).files["a"]);
    }
    EXPECT_EQ(results[0].size(), 32u);
    EXPECT_EQ(results[0], results[1]);
}

TEST(BuiltInCabinet, SlidesTheHistoryOverShortBlocks) {
    const Bytes noise = Noise(32768);
    const Bytes cabinet =
        OneFile(
            tcompTYPE_MSZIP, 32768 + 516,
            {{StoredMszip(noise), 32768}, {MatchAtLargestDistance(), 258}, {MatchAtLargestDistance(), 258}})
            .Build();
    Bytes expected = noise;
    expected.insert(expected.end(), noise.begin(), noise.begin() + 516);
    EXPECT_EQ(Unpack(cabinet).files["a"], expected);
}

TEST(BuiltInCabinet, TellsOfNeighbouringCabinets) {
    HandMadeCabinet cabinet = OneFile(tcompTYPE_NONE, 3, {{abc, 3}});
    cabinet.flags = 7;
    cabinet.neighbours = {"previous.cab", "disk 1", "next.cab", "disk 3"};
    cabinet.files = {{"p", 3, 0, 0xFFFD}, {"b", 3, 0, 0xFFFF}, {"a", 3, 0, 0}, {"n", 4, 0, 0xFFFE}};
    ERF errors{};
    const auto info = Describe(cabinet.Build(), errors);
    ASSERT_TRUE(info.has_value());
    EXPECT_TRUE(info->fReserve && info->hasprev && info->hasnext);

    const Outcome unpacked = Unpack(cabinet.Build());
    const std::vector<std::string> events = {
        "cabinet [next.cab] [disk 3] [//folder//] set 12345 index 0",
        "partial p",
        "partial b",
        "copy a 3",
        "close a date 8812 time 22970 attributes 33",
        "copy n 4",
        "next next.cab",
    };
    EXPECT_EQ(unpacked.events, events);
    EXPECT_EQ(unpacked.errors.erfOper, FDIERROR_USER_ABORT);
    EXPECT_EQ(unpacked.files.at("a"), abc);
}

TEST(BuiltInCabinet, StoresEmptyFiles) {
    MemoryFiles set;
    const Outcome packed = Pack(set, {{"a", {}}, {"b", {}}}, tcompTYPE_MSZIP);
    ASSERT_TRUE(packed.succeeded);
    EXPECT_EQ(Unpack(packed.cabinet).files, (std::map<std::string, Bytes>{{"a", {}}, {"b", {}}}));
    EXPECT_TRUE(Pack(set, {}, tcompTYPE_MSZIP).succeeded);
}

TEST(BuiltInCabinet, NeverDeliversOtherBytesThanWerePacked) {
    MemoryFiles set;
    const Bytes original = Prose(300);
    const Bytes cabinet = Pack(set, {{"a", original}}, tcompTYPE_MSZIP).cabinet;
    int refused = 0;
    for (std::size_t bit = 0; bit < cabinet.size() * 8; ++bit) {
        const Bytes damaged = WithByte(cabinet, bit / 8, static_cast<BYTE>(cabinet[bit / 8] ^ 1 << bit % 8));
        const Outcome unpacked = Unpack(damaged);
        refused += unpacked.succeeded ? 0 : 1;
        for (const auto& [name, bytes] : unpacked.files) {
            EXPECT_FALSE(std::search(original.begin(), original.end(), bytes.begin(), bytes.end()) ==
                         original.end())
                << "bit " << bit;
        }
    }
    EXPECT_GT(refused, static_cast<int>(cabinet.size()) * 4);
}

TEST(BuiltInCabinet, RefusesToDecodeTheSameBlocksOverAndOver) {
    HandMadeCabinet cabinet = OneFile(tcompTYPE_NONE, 1, {{Noise(32768), 32768}, {abc, 3}});
    cabinet.files.clear();
    for (std::uint32_t i = 0; i < 0xFFFF; ++i)
        cabinet.files.push_back({"skip", 1, i % 32768, 0});
    for (std::uint32_t i = 0; i < 8; ++i)
        cabinet.files[i].name = "a";
    EXPECT_TRUE(Unpack(cabinet.Build()).succeeded) << "many files in the order of their data";

    for (std::uint32_t i = 0; i < 64; ++i)
        cabinet.files[i] = {"a", 1, i % 2 * 32768, 0};
    EXPECT_EQ(Unpack(cabinet.Build()).errors.erfOper, FDIERROR_CORRUPT_CABINET);
    cabinet.folders = {PlainLzxFolder(Noise(40000))};
    EXPECT_EQ(Unpack(cabinet.Build()).errors.erfOper, FDIERROR_CORRUPT_CABINET);
    // As many folders over the same block.
    cabinet.folders.assign(64, LzxFolder());
    for (std::uint32_t i = 0; i < 64; ++i)
        cabinet.files[i] = {"a", 1, 0, static_cast<std::uint16_t>(i)};
    Bytes bytes = cabinet.Build();
    for (std::size_t i = 8; i < std::size_t{64} * 8; ++i)
        bytes[36 + i] = bytes[36 + i % 8];
    EXPECT_EQ(Unpack(bytes).errors.erfOper, FDIERROR_CORRUPT_CABINET);
}

using Codes = std::map<Call, std::set<int>>;

TEST(BuiltInCabinet, ReportsEveryFailingCallWhilePacking) {
    const Codes codes = {
        {Call::allocate, {FCIERR_ALLOC_FAIL}},   {Call::openInfo, {FCIERR_OPEN_SRC}},
        {Call::read, {FCIERR_READ_SRC}},         {Call::open, {FCIERR_CAB_FILE}},
        {Call::write, {FCIERR_CAB_FILE}},        {Call::close, {FCIERR_READ_SRC, FCIERR_CAB_FILE}},
        {Call::filePlaced, {FCIERR_USER_ABORT}}, {Call::status, {FCIERR_USER_ABORT}},
    };
    const std::set<Call> ownErrors = {Call::openInfo, Call::read, Call::open, Call::write, Call::close};
    std::set<Call> seen;
    for (int number = 1;; ++number) {
        MemoryFiles set;
        set.FailCall(number);
        const Outcome packed = Pack(set, {{"a", Noise(70000)}, {"b", abc}}, tcompTYPE_MSZIP);
        EXPECT_EQ(set.OpenHandles(), 0u) << number;
        EXPECT_EQ(set.Allocations(), 0u) << number;
        if (set.FailedCall() == Call::none) break;
        seen.insert(set.FailedCall());
        EXPECT_FALSE(packed.succeeded) << number;
        EXPECT_TRUE(codes.at(set.FailedCall()).contains(packed.errors.erfOper)) << number;
        EXPECT_EQ(packed.errors.erfType,
                  ownErrors.contains(set.FailedCall()) ? MemoryFiles::callbackError : 0);
    }
    EXPECT_EQ(seen.size(), codes.size());
}

TEST(BuiltInCabinet, ReportsEveryFailingCallWhileUnpacking) {
    const Codes codes = {
        {Call::allocate, {FDIERROR_ALLOC_FAIL}},  {Call::open, {FDIERROR_CABINET_NOT_FOUND}},
        {Call::read, {FDIERROR_CORRUPT_CABINET}}, {Call::seek, {FDIERROR_CORRUPT_CABINET}},
        {Call::write, {FDIERROR_TARGET_FILE}},    {Call::notify, {FDIERROR_USER_ABORT}},
        {Call::close, {FDIERROR_USER_ABORT}},
    };
    MemoryFiles packing;
    HandMadeCabinet lzx;
    lzx.folders = {PlainLzxFolder(Noise(70000))};
    lzx.files = {{"a", 40000, 0, 0}, {"b", 30000, 40000, 0}};
    const Bytes cabinets[] = {Pack(packing, {{"a", Noise(70000)}, {"b", abc}}, tcompTYPE_MSZIP).cabinet,
                              lzx.Build()};
    for (const Bytes& cabinet : cabinets) {
        std::set<Call> seen;
        for (int number = 1;; ++number) {
            MemoryFiles set;
            set.FailCall(number);
            const Outcome unpacked = Unpack(set, cabinet);
            EXPECT_EQ(set.OpenHandles(), 0u) << number;
            EXPECT_EQ(set.Allocations(), 0u) << number;
            if (set.FailedCall() == Call::none) break;
            seen.insert(set.FailedCall());
            // The cabinet itself is closed when all is done; nothing depends on that close.
            if (set.FailedCall() == Call::close && unpacked.files.size() == 2 && unpacked.succeeded) continue;
            EXPECT_FALSE(unpacked.succeeded) << number;
            EXPECT_TRUE(codes.at(set.FailedCall()).contains(unpacked.errors.erfOper)) << number;
        }
        EXPECT_EQ(seen.size(), codes.size());
    }
}

TEST(BuiltInCabinet, RefusesWhatOneCabinetCannotHold) {
    CCAB small = UsualParameters();
    small.cb = 1000;
    CCAB large = UsualParameters();
    large.cbReserveCFFolder = 256;
    const struct {
        const char* name;
        NamedFiles files;
        WORD compression;
        CCAB parameters;
        int expected;
    } cases[] = {
        {"cabinet too large", {{"a", Noise(2000)}}, tcompTYPE_MSZIP, small, FCIERR_CAB_FILE},
        {"reserved area too large", {{"a", abc}}, tcompTYPE_MSZIP, large, FCIERR_CAB_FILE},
        {"long name", {{std::string(256, 'n'), abc}}, tcompTYPE_MSZIP, UsualParameters(), FCIERR_OPEN_SRC},
        {"empty name", {{"", abc}}, tcompTYPE_MSZIP, UsualParameters(), FCIERR_OPEN_SRC},
        {"compression", {{"a", abc}}, tcompTYPE_LZX, UsualParameters(), FCIERR_BAD_COMPR_TYPE},
    };
    for (const auto& refused : cases) {
        MemoryFiles set;
        const Outcome packed = Pack(set, refused.files, refused.compression, refused.parameters);
        EXPECT_FALSE(packed.succeeded) << refused.name;
        EXPECT_EQ(packed.errors.erfOper, refused.expected) << refused.name;
        EXPECT_TRUE(packed.cabinet.empty()) << refused.name;
    }
}

TEST(BuiltInCabinet, BeginsANewFolderAtTheThreshold) {
    CCAB parameters = UsualParameters();
    parameters.cbFolderThresh = 40000;
    MemoryFiles set;
    const NamedFiles files = {{"a", Noise(100000)}, {"b", Prose(50000)}, {"c", abc}};
    const Outcome packed = Pack(set, files, tcompTYPE_MSZIP, parameters);
    ERF errors{};
    const auto info = Describe(packed.cabinet, errors);
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->cFolders, 2);
    EXPECT_EQ(Unpack(packed.cabinet).files, (std::map<std::string, Bytes>(files.begin(), files.end())));
}

LONG ThrowingStatus(unsigned, DWORD, DWORD, void*) {
    throw std::runtime_error("from a callback");
}

TEST(BuiltInCabinet, LetsNoExceptionEscapeAndStaysFailed) {
    const CabinetLibrary& library = CabinetLibrary::Get();
    MemoryFiles set;
    set.Put("a", Noise(40000));
    CCAB parameters = UsualParameters();
    ERF errors{};
    char name[] = "a";
    const HFCI context = CreateFci(errors, parameters, nullptr, nullptr);
    EXPECT_FALSE(library.fciAddFile(context, name, name, 0, nullptr, &ThrowingStatus,
                                    &MemoryFiles::FciGetOpenInfo, tcompTYPE_MSZIP));
    EXPECT_EQ(errors.erfOper, FCIERR_MCI_FAIL);
    EXPECT_FALSE(library.fciFlushCabinet(context, 0, nullptr, nullptr));
    EXPECT_TRUE(library.fciDestroy(context));
    EXPECT_EQ(set.OpenHandles(), 0u);
    EXPECT_EQ(set.Allocations(), 0u);
}

TEST(BuiltInCabinet, BeginsNoSetOfCabinets) {
    const CabinetLibrary& library = CabinetLibrary::Get();
    MemoryFiles set;
    set.Put("a", abc);
    CCAB parameters = UsualParameters();
    ERF errors{};
    char name[] = "a";
    const HFCI context = CreateFci(errors, parameters, nullptr, nullptr);
    EXPECT_TRUE(library.fciAddFile(context, name, name, 0, nullptr, nullptr, &MemoryFiles::FciGetOpenInfo,
                                   tcompTYPE_MSZIP));
    EXPECT_FALSE(library.fciFlushCabinet(context, 1, &RefuseNextCabinet, nullptr));
    EXPECT_EQ(errors.erfOper, FCIERR_CAB_FILE);
    library.fciDestroy(context);
}

}  // namespace
