// The built-in cabinet library: its exact error codes, its limits, and what it does with hostile bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>

#include "support/cabinettools.h"

namespace {

using namespace cabinettest;
using namespace platform::cabinet;

const ByteBuffer abc = BytesOf("abc");

TEST(BuiltInCabinet, RefusesWithTheDocumentedCodes) {
    const struct {
        void (*damage)(Records&);
        FDIERROR expected;
    } damages[] = {
        {[](Records& r) { r.header.signature ^= 0x04000000; }, FDIERROR_NOT_A_CABINET},
        {[](Records& r) { r.header.minorVersion = 4; }, FDIERROR_UNKNOWN_CABINET_VERSION},
        {[](Records& r) { r.header.majorVersion = 2; }, FDIERROR_UNKNOWN_CABINET_VERSION},
        {[](Records& r) { r.header.folderCount = 0; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.header.fileCount = 0; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.header.fileCount = 0x0101; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.header.firstFileOffset = 35; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.header.cabinetSize |= 0x80000000; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { --r.header.cabinetSize; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.files[0].folder = 1; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.files[0].size = 0x80000000; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.files[0].size = 4; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.files[0].offset = 0xFFFFFFFF; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.files[0].offset = 3; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.folders[0].blockCount = 0; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.folders[0].compression = tcompTYPE_MSZIP; }, FDIERROR_MDI_FAIL},
        {[](Records& r) { r.folders[0].compression = tcompTYPE_QUANTUM; }, FDIERROR_BAD_COMPR_TYPE},
        {[](Records& r) { r.folders[0].compression = tcompTYPE_LZX | 0x1500; }, FDIERROR_MDI_FAIL},
        {[](Records& r) { r.folders[0].compression = tcompTYPE_LZX; }, FDIERROR_BAD_COMPR_TYPE},
        {[](Records& r) { r.folders[0].compression = 4; }, FDIERROR_BAD_COMPR_TYPE},
        {[](Records& r) { r.blocks[0].checksum = 1; }, FDIERROR_CORRUPT_CABINET},
        {[](Records& r) { r.blocks[0].uncompressedSize = 4; }, FDIERROR_CORRUPT_CABINET},
    };
    for (int number = 0; const auto& [damage, expected] : damages) {
        const Outcome unpacked = Unpack(OneFile(tcompTYPE_NONE, 3, {{abc, 3}}).Damage(damage));
        EXPECT_FALSE(unpacked.succeeded);
        EXPECT_TRUE(unpacked.errors.fError);
        EXPECT_EQ(unpacked.errors.erfOper, expected) << "row " << number++;
    }

    const ByteBuffer mszip = StoredMszip(abc);
    ByteBuffer wrongLength = mszip;
    ++wrongLength[3];
    const struct {
        const char* what;
        std::uint32_t size;
        Block block;
        FDIERROR expected;
    } blocks[] = {
        {"data of a block", 3, {mszip, 32769}, FDIERROR_CORRUPT_CABINET},
        {"payload of a block", 3, {Noise(32768 + 6145), 3}, FDIERROR_CORRUPT_CABINET},
        {"unfinished block", 3, {mszip, 0}, FDIERROR_CORRUPT_CABINET},
        {"no signature", 3, {Bytes("43"), 3}, FDIERROR_MDI_FAIL},
        {"no stream", 3, {Bytes("43 4B"), 3}, FDIERROR_MDI_FAIL},
        {"another size of the stored bytes", 3, {wrongLength, 3}, FDIERROR_MDI_FAIL},
        {"too little data", 3, {mszip, 4}, FDIERROR_MDI_FAIL},
        {"too much data", 2, {mszip, 2}, FDIERROR_MDI_FAIL},
        {"reference before the folder", 258, {MatchAtLargestDistance(), 258}, FDIERROR_MDI_FAIL},
    };
    for (const auto& [what, size, block, expected] : blocks)
        EXPECT_EQ(Unpack(OneFile(tcompTYPE_MSZIP, size, {block})).errors.erfOper, expected) << what;

    const CabinetBuilder otherFolder = OneFile(tcompTYPE_MSZIP, 32768, {{StoredMszip(Noise(32768)), 32768}})
                                           .Folder(tcompTYPE_MSZIP, {{MatchAtLargestDistance(), 258}})
                                           .File("b", {.size = 258, .folder = 1});
    EXPECT_EQ(Unpack(otherFolder).errors.erfOper, FDIERROR_MDI_FAIL) << "reference into another folder";
    CabinetBuilder longName = OneFile(tcompTYPE_NONE, 3, {{abc, 3}});
    for (const std::size_t size : {255u, 256u}) {
        longName.files[0].name.assign(size, 'n');
        EXPECT_EQ(Unpack(longName).errors.erfOper, size == 255 ? FDIERROR_NONE : FDIERROR_CORRUPT_CABINET);
    }
}

TEST(BuiltInCabinet, RefusesEveryTruncation) {
    const ByteBuffer cabinet = Pack({{"a", Prose(300)}}, tcompTYPE_MSZIP).cabinet;
    for (DWORD size = 0; size < cabinet.size(); ++size) {
        const Outcome unpacked = Unpack(ByteBuffer(cabinet.data(), size));
        EXPECT_FALSE(unpacked.succeeded) << size << " bytes";
        EXPECT_EQ(unpacked.errors.erfOper == FDIERROR_NOT_A_CABINET, size < encodedSize<Header>) << size;
    }
}

TEST(BuiltInCabinet, ReadsNothingOfOthersInFrontOfTheData) {
    CabinetBuilder cabinet = CabinetBuilder().Folder(QuantumFolder()).File("a", {.size = 32});
    ByteBuffer& payload = cabinet.folders[0].blocks[0].payload;
    payload[0] = 0x72, payload[2] = 0xA1, payload[4] = 0x69;  // now with matches that reach back too far
    std::vector<ByteBuffer> results;
    for (const BYTE secret : {BYTE{0x5A}, BYTE{0xA5}}) {
        std::vector<ByteBuffer>(300, ByteBuffer(1024, secret)).clear();  // what the heap had before
        results.push_back(Unpack(cabinet).files["a"]);
    }
    EXPECT_EQ(results[0].size(), 32u);
    EXPECT_EQ(results[0], results[1]);
}

TEST(BuiltInCabinet, SlidesTheHistoryOverShortBlocks) {
    const ByteBuffer noise = Noise(32768);
    const Block match{MatchAtLargestDistance(), 258};
    Outcome unpacked =
        Unpack(OneFile(tcompTYPE_MSZIP, 32768 + 516, {{StoredMszip(noise), 32768}, match, match}));
    EXPECT_EQ(unpacked.files["a"], ByteBuffer(noise).append(ByteBuffer(noise.data(), 516)));
}

TEST(BuiltInCabinet, TellsOfNeighbouringCabinets) {
    const CabinetBuilder cabinet =
        CabinetBuilder()
            .Folder(tcompTYPE_NONE, {{abc, 3}})
            .Reserve({}, {}, {})
            .Neighbours(hasPreviousCabinet | hasNextCabinet, {"previous.cab", "disk 1", "next.cab", "disk 3"})
            .File("p", {.size = 3, .folder = continuedFromPrevious})
            .File("b", {.size = 3, .folder = continuedFromPreviousToNext})
            .File("a", {.size = 3})
            .File("n", {.size = 4, .folder = continuedToNext});
    const auto info = Describe(cabinet.Build());
    ASSERT_TRUE(info.has_value());
    EXPECT_TRUE(info->fReserve && info->hasprev && info->hasnext);

    const Outcome unpacked = Unpack(cabinet);
    const std::vector<std::string> events = {"cabinet [next.cab] [disk 3] [//folder//] 12345 0",
                                             "partial p",
                                             "partial b",
                                             "copy a 3",
                                             "close a 0 0 0",
                                             "copy n 4",
                                             "next next.cab"};
    EXPECT_EQ(unpacked.events, events);
    EXPECT_EQ(unpacked.errors.erfOper, FDIERROR_USER_ABORT);
    EXPECT_EQ(unpacked.files, (FileMap{{"a", abc}}));
}

TEST(BuiltInCabinet, StoresEmptyFiles) {
    const Outcome packed = Pack({{"a", {}}, {"b", {}}}, tcompTYPE_MSZIP);
    EXPECT_TRUE(packed.succeeded);
    EXPECT_EQ(Unpack(packed.cabinet).files, (FileMap{{"a", {}}, {"b", {}}}));
    EXPECT_TRUE(Pack({}, tcompTYPE_MSZIP).succeeded);
}

TEST(BuiltInCabinet, NeverDeliversOtherBytesThanWerePacked) {
    const ByteBuffer original = Prose(300);
    const ByteBuffer cabinet = Pack({{"a", original}}, tcompTYPE_MSZIP).cabinet;
    std::size_t refused = 0;
    for (std::size_t bit = 0; bit < cabinet.size() * 8; ++bit) {
        ByteBuffer damaged = cabinet;
        damaged[bit / 8] ^= static_cast<BYTE>(1 << bit % 8);
        const Outcome unpacked = Unpack(damaged);
        refused += unpacked.succeeded ? 0 : 1;
        for (const auto& [name, bytes] : unpacked.files) {
            EXPECT_NE(std::search(original.begin(), original.end(), bytes.begin(), bytes.end()),
                      original.end())
                << "bit " << bit;
        }
    }
    EXPECT_GT(refused, cabinet.size() * 4);
}

TEST(BuiltInCabinet, RefusesToDecodeTheSameBlocksOverAndOver) {
    CabinetBuilder cabinet = CabinetBuilder().Folder(tcompTYPE_NONE, {{Noise(32768), 32768}, {abc, 3}});
    for (std::uint32_t i = 0; i < 0xFFFF; ++i)
        cabinet.File(i < 8 ? "a" : "skip", {.size = 1, .offset = i % 32768});
    EXPECT_TRUE(Unpack(cabinet).succeeded) << "many files in the order of their data";

    for (std::uint32_t i = 0; i < 64; ++i)
        cabinet.files[i] = {"a", {.size = 1, .offset = i % 2 * 32768}};
    EXPECT_EQ(Unpack(cabinet).errors.erfOper, FDIERROR_CORRUPT_CABINET);
    cabinet.folders = {PlainLzxFolder(Noise(40000))};
    EXPECT_EQ(Unpack(cabinet).errors.erfOper, FDIERROR_CORRUPT_CABINET);
    // As many folders over the same block.
    cabinet.folders.assign(64, LzxFolder());
    for (std::uint16_t i = 0; i < 64; ++i)
        cabinet.files[i] = {"a", {.size = 1, .folder = i}};
    cabinet.Damage([](Records& r) { r.folders.assign(64, r.folders[0]); });
    EXPECT_EQ(Unpack(cabinet).errors.erfOper, FDIERROR_CORRUPT_CABINET);
}

using Codes = std::map<Call, std::set<int>>;

/// Lets each call of an operation fail in turn, and expects one of the codes of its kind; nothing depends on
/// the close of a cabinet that has been read.
template <class Run>
void ExpectCodesOfFailingCalls(const Codes& codes, const std::set<Call>& withErrorNumber, Run run) {
    std::set<Call> seen;
    for (int number = 1;; ++number) {
        MemoryFiles set;
        set.FailCall(number);
        const Outcome outcome = run(set);
        const Call failed = set.FailedCall();
        EXPECT_TRUE(set.IsAllReleased()) << number;
        if (failed == Call::none) break;
        seen.insert(failed);
        if (outcome.succeeded && failed == Call::close && outcome.files.size() == 2) continue;
        EXPECT_FALSE(outcome.succeeded) << number;
        EXPECT_TRUE(codes.at(failed).contains(outcome.errors.erfOper)) << number;
        EXPECT_EQ(outcome.errors.erfType, withErrorNumber.contains(failed) ? MemoryFiles::callbackError : 0);
    }
    EXPECT_EQ(seen.size(), codes.size());
}

TEST(BuiltInCabinet, ReportsEveryFailingCall) {
    const NamedFiles files = {{"a", Noise(70000)}, {"b", abc}};
    const Codes packing = {
        {Call::allocate, {FCIERR_ALLOC_FAIL}},   {Call::openInfo, {FCIERR_OPEN_SRC}},
        {Call::read, {FCIERR_READ_SRC}},         {Call::open, {FCIERR_CAB_FILE}},
        {Call::write, {FCIERR_CAB_FILE}},        {Call::close, {FCIERR_READ_SRC, FCIERR_CAB_FILE}},
        {Call::filePlaced, {FCIERR_USER_ABORT}}, {Call::status, {FCIERR_USER_ABORT}},
    };
    ExpectCodesOfFailingCalls(packing, {Call::openInfo, Call::read, Call::open, Call::write, Call::close},
                              [&](MemoryFiles& set) { return Pack(set, files, tcompTYPE_MSZIP); });

    const Codes unpacking = {
        {Call::allocate, {FDIERROR_ALLOC_FAIL}},  {Call::open, {FDIERROR_CABINET_NOT_FOUND}},
        {Call::read, {FDIERROR_CORRUPT_CABINET}}, {Call::seek, {FDIERROR_CORRUPT_CABINET}},
        {Call::write, {FDIERROR_TARGET_FILE}},    {Call::notify, {FDIERROR_USER_ABORT}},
        {Call::close, {FDIERROR_USER_ABORT}},
    };
    const CabinetBuilder lzx = CabinetBuilder()
                                   .Folder(PlainLzxFolder(Noise(70000)))
                                   .File("a", {.size = 40000})
                                   .File("b", {.size = 30000, .offset = 40000});
    for (const ByteBuffer& cabinet : {Pack(files, tcompTYPE_MSZIP).cabinet, lzx.Build()})
        ExpectCodesOfFailingCalls(unpacking, {}, [&](MemoryFiles& set) { return Unpack(set, cabinet); });
}

TEST(BuiltInCabinet, RefusesWhatOneCabinetCannotHold) {
    const CCAB usual = UsualParameters();
    CCAB small = usual;
    small.cb = 1000;
    CCAB large = usual;
    large.cbReserveCFFolder = 256;
    const struct {
        const char* what;
        NamedFiles files;
        WORD compression;
        CCAB parameters;
        int expected;
    } cases[] = {
        {"cabinet too large", {{"a", Noise(2000)}}, tcompTYPE_MSZIP, small, FCIERR_CAB_FILE},
        {"reserved area too large", {{"a", abc}}, tcompTYPE_MSZIP, large, FCIERR_CAB_FILE},
        {"long name", {{std::string(256, 'n'), abc}}, tcompTYPE_MSZIP, usual, FCIERR_OPEN_SRC},
        {"empty name", {{"", abc}}, tcompTYPE_MSZIP, usual, FCIERR_OPEN_SRC},
        {"compression", {{"a", abc}}, tcompTYPE_LZX, usual, FCIERR_BAD_COMPR_TYPE},
    };
    for (const auto& [what, files, compression, parameters, expected] : cases) {
        const Outcome packed = Pack(files, compression, parameters);
        EXPECT_FALSE(packed.succeeded) << what;
        EXPECT_EQ(packed.errors.erfOper, expected) << what;
        EXPECT_TRUE(packed.cabinet.empty()) << what;
    }
}

TEST(BuiltInCabinet, BeginsANewFolderAtTheThreshold) {
    CCAB parameters = UsualParameters();
    parameters.cbFolderThresh = 40000;
    const NamedFiles files = {{"a", Noise(100000)}, {"b", Prose(50000)}, {"c", abc}};
    const Outcome packed = Pack(files, tcompTYPE_MSZIP, parameters);
    EXPECT_EQ(Decode<Header>(packed.cabinet.data()).folderCount, 2);
    EXPECT_EQ(Unpack(packed.cabinet).files, FileMap(files.begin(), files.end()));
}

LONG ThrowingStatus(unsigned, DWORD, DWORD, void*) {
    throw std::runtime_error("from a callback");
}

TEST(BuiltInCabinet, LetsNoExceptionEscapeAndBeginsNoSetOfCabinets) {
    const auto& library = MicrosoftCabinetLibrary::GetShared();
    for (const auto& [status, error] :
         {std::pair<FciStatusFunction, int>{&ThrowingStatus, FCIERR_MCI_FAIL}, {nullptr, FCIERR_CAB_FILE}}) {
        MemoryFiles set;
        set.Put("a", Noise(40000));
        CCAB parameters = UsualParameters();
        ERF errors{};
        char name[] = "a";
        const HFCI context = CreateFci(errors, parameters);
        EXPECT_EQ(library.GetFciAddFilePfn()(context, name, name, 0, nullptr, status,
                                             &MemoryFiles::GetOpenInfo, tcompTYPE_MSZIP) != 0,
                  status == nullptr);
        EXPECT_FALSE(library.GetFciFlushCabinetPfn()(context, 1, &RefuseNextCabinet, nullptr));
        EXPECT_EQ(errors.erfOper, error);
        EXPECT_TRUE(library.GetFciDestroyPfn()(context));
        EXPECT_TRUE(set.IsAllReleased());
    }
}

}  // namespace
