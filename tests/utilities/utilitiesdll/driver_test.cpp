// What a driver tells of itself: its version, its process, its texts; and the calendar.
#include <gtest/gtest.h>

#include <cstdint>

#include "support/bytes.h"
#include "support/throws.h"
#include "utilities/utilitiesdll/driverloadedcontext.h"
#include "utilities/utilitiesdll/driverversion.h"
#include "utilities/utilitiesdll/textresourceloader.h"
#include "utilities/utilitiesdll/utctime.h"

namespace {

const DriverVersion sample(0x0005, 0x0016, 0x0107, 0x0002);

TEST(DriverVersionTest, IsWrittenAsFourWordsAndReadBack) {
    EXPECT_EQ(Hex(sample.GetVersionAsByteBuffer()), "05 00 16 00 07 01 02 00");
    const ByteBuffer bytes = Bytes("05 00 16 00 07 01 02 00 FF");
    nvutil::ByteWalk walk(bytes);
    EXPECT_EQ(DriverVersion::WalkBufferToGetDriverVersion(walk.cursor, walk.remaining), sample);
    EXPECT_EQ(walk.remaining, 1U);
    EXPECT_EQ(walk.cursor, bytes.data() + 8);

    nvutil::ByteWalk tooFew(bytes.data(), 7);
    EXPECT_THROWS(DriverVersion::WalkBufferToGetDriverVersion(tooFew.cursor, tooFew.remaining),
                  ExceptionNotEnoughBytesForDesiredDataType, thrown.GetExceptionLocationLineNumber(),
                  "DriverVersion::WalkBufferToGetDriverVersion");
    EXPECT_EQ(tooFew.remaining, 7U);
    EXPECT_EQ(tooFew.cursor, bytes.data());
}

TEST(DriverVersionTest, HasTwoNumbersAndTwoTexts) {
    EXPECT_EQ(DriverVersion(LONG{0x00050016}, LONG{0x01070002}), sample);
    LONG high = 0;
    LONG low = 0;
    DriverVersion(0xFFFE, 0xFFFD, 0x8000, 1).GetLongComponents(high, low);
    EXPECT_EQ(DriverVersion(high, low), DriverVersion(0xFFFE, 0xFFFD, 0x8000, 1));
    EXPECT_FALSE(sample == DriverVersion(5, 0x16, 0x107, 3));

    const DriverVersion version(5012, 1234, 5678, 9012);
    EXPECT_EQ(version.GetVersionDisplayString(), NV_TEXT("5.12.12.34.56.78.90"));
    EXPECT_EQ(version.GetDumpDisplayString(),
              NV_TEXT("5.12.12.34.56.78.90 [5012, 1234, 5678, 9012 (0x1394, 0x4d2, 0x162e, 0x2334)]"));
}

TEST(DriverVersionTest, CurrentVersionIsWhatWasSetLast) {
    const DriverVersion original = DriverVersion::GetCurrentDriverVersion();
    EXPECT_FALSE(original == DriverVersion());
    DriverVersion::SetCurrentDriverVersion(sample);
    EXPECT_EQ(DriverVersion::GetCurrentDriverVersion(), sample);
    DriverVersion::SetCurrentDriverVersion(original);
}

TEST(DriverLoadedContext, IsWorkedOutFromTheHostModule) {
    // The answers are of spooler, filter pipeline, 64-bit helper and unknown, in this order.
    const auto expect = [](const WChar* module, int type, const char* name, const char* answers) {
        SCOPED_TRACE(Narrow(module));
        const DriverLoadedContext context{CXString(module)};
        EXPECT_EQ(context.GetContextType(), type);
        EXPECT_EQ(Narrow(context.GetContextNameForDebugSpew()), name);
        const auto given = [](bool answer) { return answer ? 'y' : '-'; };
        EXPECT_EQ((std::string{given(context.IsSpoolerContext()), given(context.IsFilterPipelineExeContext()),
                               given(context.IsSplWow64()), given(context.IsUnknownContext())}),
                  answers);
        EXPECT_EQ(context.IsSpoolerOrFilterPipelineExeContext(), type == 2 || type == 4);
        EXPECT_EQ(context.IsApplicationOrSplWow64Context(), type == 1 || type == 3);
    };
    expect(NV_TEXT("winword.exe"), 1, "APPLICATION", "----");
    expect(NV_TEXT("spoolsv.exe.exe"), 1, "APPLICATION", "----");
    expect(NV_TEXT("spoolsv.exe"), 2, "SPOOLER", "y---");
    expect(NV_TEXT("SPOOLSV.EXE"), 2, "SPOOLER", "y---");
    expect(NV_TEXT("printisolationhost.exe"), 2, "SPOOLER", "y---");
    expect(NV_TEXT("SplWow64.exe"), 3, "SPLWOW64", "--y-");
    expect(NV_TEXT("PrintFilterPipelineSvc.exe"), 4, "FILTERPIPELINE", "-y--");
    expect(NV_TEXT(""), 0, "UNKNOWN", "---y");
    EXPECT_EQ(DriverLoadedContext::GetCurrent().GetContextType(), DriverLoadedContext::CONTEXT_APPLICATION);
}

TEST(TextResourceLoaderTest, HasTheTextsOfDisplayedExceptionsAndNoOthers) {
    for (unsigned id = 35003; id <= 35012; ++id)
        EXPECT_FALSE(TextResourceLoader::GetText(id).IsEmpty()) << id;
    EXPECT_EQ(TextResourceLoader::GetText(34606), NV_TEXT("."));
    EXPECT_EQ(TextResourceLoader::GetText(34607), NV_TEXT(","));
    CXString text;
    EXPECT_TRUE(text.LoadStringW(35003));
    EXPECT_EQ(text, TextResourceLoader::GetText(35003));
    for (const unsigned id : {0U, 34605U, 35002U, 35013U, 0xFFFFFFFFU}) {
        text = NV_TEXT("before");
        EXPECT_FALSE(text.LoadStringW(id)) << id;
        EXPECT_TRUE(text.IsEmpty()) << id;
    }
}

TEST(UtcTimeTest, DisplaysAnyTime) {
    const auto expect = [](std::int64_t seconds, const char* expected) {
        EXPECT_EQ(Narrow(UtcTime(seconds).GetDisplayString()), expected);
    };
    expect(1700000000, "2023-11-14T22:13:20Z");
    expect(0, "1970-01-01T00:00:00Z");
    expect(-1, "1969-12-31T23:59:59Z");
    expect(951782400, "2000-02-29T00:00:00Z");
    expect(-62167219200, "0000-01-01T00:00:00Z");
    expect(-62167219201, "-0001-12-31T23:59:59Z");
    expect(253402300799, "9999-12-31T23:59:59Z");
    expect(253402300800, "+10000-01-01T00:00:00Z");
    expect(INT64_MAX, "+292277026596-12-04T15:30:07Z");
    expect(INT64_MIN, "-292277022657-01-27T08:29:52Z");
}

}  // namespace
