// Cabinet contexts, their virtual files and their error texts.
#include "utilities/compression/cabcontext.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>

#include "support/bytes.h"
#include "support/throws.h"
#include "utilities/compression/cabbufferasfile.h"
#include "utilities/compression/cabcompressioncontext.h"
#include "utilities/compression/cabdecompressioncontext.h"
#include "utilities/compression/cabfileobjectmanager.h"
#include "utilities/compression/microsoftcabinetlibrary.h"

namespace {

using namespace platform::cabinet;

/// A pair of files in memory: "abc" and an empty buffer.
struct TwoFiles {
    ByteBuffer data = Bytes("61 62 63");
    ByteBuffer out;
    CabBufferAsFile source{"source", data};
    CabBufferAsFile destination{"folder\\sub\\destination", out};
};

TEST(CabContext, NamesTheErrorCodes) {
    constexpr struct {
        int code;
        const char* compression;
        const char* decompression;
    } cases[] = {
        {0, "FCIERR_NONE (No error)", "FDIERROR_NONE (No error)"},
        {3, "FCIERR_ALLOC_FAIL (Out of memory in FCI)",
         "FDIERROR_UNKNOWN_CABINET_VERSION (Cabinet file has an unknown version number)"},
        {8, "FCIERR_MCI_FAIL (No error)", "FDIERROR_TARGET_FILE (Failure writing to target file)"},
        {11, "Unknown FCIERR_XXX value", "FDIERROR_USER_ABORT (FDI aborted)"},
        {12, "Unknown FCIERR_XXX value", "Unknown FDIERROR_XXX value"},
        {-1, "Unknown FCIERR_XXX value", "Unknown FDIERROR_XXX value"},
    };
    TwoFiles files;
    CabCompressionContext compression(files.source, files.destination);
    CabDecompressionContext decompression(files.source, files.destination);
    for (const auto& expected : cases) {
        EXPECT_EQ(Narrow(compression.CreateDisplayStringFromOperationError(expected.code)),
                  expected.compression);
        EXPECT_EQ(Narrow(decompression.CreateDisplayStringFromOperationError(expected.code)),
                  expected.decompression);
    }
    EXPECT_EQ(Narrow(compression.CreateDisplayStringFromCurrentCabinetErrors()), "None");
    compression.GetErrorInfo() = {FCIERR_TEMP_FILE, 17, 1};
    EXPECT_EQ(Narrow(compression.CreateDisplayStringFromCurrentCabinetErrors()),
              "4: FCIERR_TEMP_FILE (Could not create a temporary file) (err type=17)");
}

TEST(CabContext, SplitsNamesAtTheLastBackslash) {
    constexpr struct {
        const char* full;
        const char* path;
        const char* name;
    } cases[] = {{"a\\b\\c.cab", "a\\b\\", "c.cab"},
                 {"//Compressed-Data//", "", "//Compressed-Data//"},
                 {"a\\", "a\\", ""},
                 {"", "", ""}};
    for (const auto& [full, path, name] : cases) {
        const CabBufferAsFile file(full);
        EXPECT_EQ(file.GetPath(), path);
        EXPECT_EQ(file.GetNameWithoutPath(), name);
    }

    TwoFiles files;
    const CabCompressionContext context(files.source, files.destination);
    char out[8];
    context.GetNameWithoutPathFromFileObject(CabBufferAsFile("a\\1234567"), out, sizeof out, NV_TEXT(""));
    EXPECT_STREQ(out, "1234567");
    context.GetPathAndNameFromFileObject(CabBufferAsFile("a\\12345"), out, sizeof out, NV_TEXT(""));
    EXPECT_STREQ(out, "a\\12345");
    EXPECT_EQ(MessageOf<ExceptionCompression>([&] {
                  context.GetPathFromFileObject(CabBufferAsFile("1234567\\a"), out, sizeof out,
                                                NV_TEXT(" while testing"));
              }),
              "None  while testing");
}

TEST(CabContext, RunsBothWaysBetweenAnyFiles) {
    TwoFiles files;
    CabCompressionContext(files.source, files.destination).CompressSourceFile();
    ByteBuffer unpacked;
    CabBufferAsFile cabinet("cabinets\\x.cab", files.out.data(), files.out.getDword());
    CabBufferAsFile extracted("source", unpacked);
    CabDecompressionContext context(cabinet, extracted);
    context.ExpectFileSize(4);
    EXPECT_EQ(MessageOf<ExceptionCompression>([&] { context.DecompressSourceFile(); }),
              "The file in the cabinet has 3 bytes where 4 are expected");
    EXPECT_TRUE(unpacked.empty());
    context.ExpectFileSize(3);
    context.DecompressSourceFile();
    EXPECT_EQ(unpacked, files.data);
}

TEST(CabContext, TellsWhichStepFailed) {
    ByteBuffer out;
    CabBufferAsFile nothing("nothing");
    CabBufferAsFile longName(std::string(256, 'n').c_str(), out);
    CabBufferAsFile good("good", out);
    EXPECT_EQ(
        MessageOf<ExceptionCompression>([&] { CabCompressionContext(good, longName).CompressSourceFile(); }),
        "None  while initializing CCAB structure in CabCompressionContext::OpenCabinetContext()");
    EXPECT_EQ(
        MessageOf<ExceptionCompression>([&] { CabCompressionContext(longName, good).CompressSourceFile(); }),
        "None  while preparing to call FCIAddFile in CabCompressionContext::AddFile()");
    EXPECT_EQ(
        MessageOf<ExceptionFileOperationCompression>(
            [&] { CabDecompressionContext(nothing, good).DecompressSourceFile(); }),
        "None CabBufferAsFile::DoOpenCabFile(): There's no buffer specified to serve as the pseudo-file "
        "(all possible buffer pointers are NULL)!File operation \"open\" failed with error 2.  while "
        "validating the cabinet");
}

TEST(CabContext, NotificationsAreAnsweredByTheirType) {
    TwoFiles files;
    CabDecompressionContext context(files.source, files.destination);
    FDINOTIFICATION notification{};
    char known[] = "source";
    char unknown[] = "Source";

    EXPECT_EQ(context.DoFdiNotify(fdintCABINET_INFO, notification), 0);
    EXPECT_EQ(context.DoFdiNotify(fdintPARTIAL_FILE, notification), -1);
    EXPECT_EQ(context.DoFdiNotify(fdintNEXT_CABINET, notification), -1);
    EXPECT_EQ(context.DoFdiNotify(fdintENUMERATE, notification), 0);
    notification.psz1 = unknown;
    EXPECT_EQ(context.DoFdiNotify(fdintCOPY_FILE, notification), -1);
    notification.psz1 = known;
    notification.hf = context.DoFdiNotify(fdintCOPY_FILE, notification);
    EXPECT_GT(notification.hf, 0);
    EXPECT_EQ(context.DoFdiNotify(fdintCLOSE_FILE_INFO, notification), 1);
    EXPECT_EQ(context.DoFdiNotify(fdintCLOSE_FILE_INFO, notification), 0);
}

TEST(CabContext, StatusIsAnsweredByItsType) {
    TwoFiles files;
    CabCompressionContext context(files.source, files.destination);
    for (const auto& [type, answer] :
         {std::pair<unsigned, LONG>{statusFile, 0}, {statusFolder, 0}, {statusCabinet, 5}, {3, 0}})
        EXPECT_EQ(context.DoFciGetStatus(type, 5, 6), answer) << type;
    EXPECT_EQ(Narrow(context.GetErrorDetailsRef()),
              "CabCompressionContext::DoFciGetStatus(): Unrecognized type status 3! Ignoring it. ");
}

TEST(CabContext, TemporaryFilesLiveInMemoryUntilTheyAreDeleted) {
    TwoFiles files;
    CabCompressionContext context(files.source, files.destination);
    char first[256];
    char second[256];
    char small[4];
    int error = 0;
    ASSERT_TRUE(context.DoFciGetTempFile(first, sizeof first));
    ASSERT_TRUE(context.DoFciGetTempFile(second, sizeof second));
    EXPECT_FALSE(context.DoFciGetTempFile(small, sizeof small));
    EXPECT_STRNE(first, second);

    const FileHandle writer = context.DoFciOpen(first, 0x8102, 0x180, error);
    EXPECT_EQ(context.DoFciWrite(writer, "abcd", 4, error), 4u);
    EXPECT_EQ(context.DoFciSeek(writer, -3, 1, error), 1);
    char read[4] = {};
    EXPECT_EQ(context.DoFciRead(writer, read, sizeof read, error), 3u);
    EXPECT_STREQ(read, "bcd");
    EXPECT_EQ(context.DoFciDelete(first, error), 0);
    EXPECT_EQ(context.DoFciRead(writer, read, 1, error), cabFailedTransfer) << "closed with its file";
    EXPECT_EQ(context.DoFciOpen(first, 0x8000, 0, error), invalidFileHandle);
    EXPECT_EQ(error, 2);
    EXPECT_EQ(context.DoFciDelete("source", error), -1) << "not a temporary file";
}

TEST(CabContext, FailedFileOperationsAreAddedToTheDetails) {
    TwoFiles files;
    CabBufferAsFile readOnly("readOnly", files.data.data(), 3);
    CabCompressionContext context(readOnly, files.destination);
    int error = 0;
    char byte = 0;
    std::string expected;
    const auto expectFailure = [&](auto result, decltype(result) failed, int number, const char* details) {
        EXPECT_EQ(result, failed) << details;
        EXPECT_EQ(error, number) << details;
        expected += details;
    };
    constexpr FileHandle none = 0;
    expectFailure(context.DoFciRead(none, &byte, 1, error), cabFailedTransfer, 9,
                  "File operation \"read\" failed with error 9. ");
    expectFailure(context.DoFciWrite(none, &byte, 1, error), cabFailedTransfer, 9,
                  "File operation \"write\" failed with error 9. ");
    expectFailure(context.DoFciSeek(none, 0, 0, error), -1, 9,
                  "File operation \"seek\" failed with error 9. ");
    expectFailure(context.DoFciClose(none, error), -1, 9, "File operation \"close\" failed with error 9. ");
    expectFailure(context.DoFciOpen("readOnly", 0x8002, 0, error), invalidFileHandle, 13,
                  "CabBufferAsFile::DoOpenCabFile(): The memory can only be read. "
                  "File operation \"open\" failed with error 13. ");
    const FileHandle handle = context.DoFciOpen("readOnly", 0x8000, 0, error);
    expectFailure(context.DoFciWrite(handle, &byte, 1, error), cabFailedTransfer, 13,
                  "File operation \"write\" failed with error 13. ");
    expectFailure(context.DoFciSeek(handle, -1, 0, error), -1, 22,
                  "File operation \"seek\" failed with error 22. ");
    EXPECT_EQ(Narrow(context.GetErrorDetailsRef()), expected);
}

TEST(CabBufferAsFile, GrowsItsBufferAndNeverShortensIt) {
    ByteBuffer buffer = Bytes("01 02 03 04");
    CabBufferAsFile file("x", buffer);
    int error = 0;
    constexpr int createAndTruncate = 0x8302;
    const auto opening = file.OpenCabFile(createAndTruncate, 0x180, error);
    EXPECT_EQ(opening->Write("\xAA\xBB", 2, error), 2u);
    EXPECT_EQ(Hex(buffer), "AA BB 03 04");
    EXPECT_EQ(file.OpenCabFile(createAndTruncate, 0x180, error)->Write("\xCC", 1, error), 1u);
    EXPECT_EQ(Hex(buffer), "CC BB 03 04") << "each opening has a position of its own";
    EXPECT_EQ(opening->Seek(1, 1, error), 3);
    EXPECT_EQ(opening->Write("\x11\x22", 2, error), 2u);
    EXPECT_EQ(opening->Seek(1, 2, error), 6);
    EXPECT_EQ(opening->Write("\x33", 1, error), 1u);
    EXPECT_EQ(Hex(buffer), "CC BB 03 11 22 00 33");
    for (const auto& [distance, origin] :
         {std::pair<LONG, int>{-1, 0}, {-8, 1}, {0x7FFFFFFF, 2}, {0, 3}, {0, -1}}) {
        error = 0;
        EXPECT_EQ(opening->Seek(distance, origin, error), -1) << distance << " from " << origin;
        EXPECT_EQ(error, 22);
    }
    EXPECT_EQ(opening->Seek(0x7FFFFFFF, 0, error), 0x7FFFFFFF);
    EXPECT_EQ(opening->Write("\x33", 1, error), cabFailedTransfer);
    EXPECT_EQ(error, 12);
    EXPECT_EQ(opening->Write("", 0, error), 0u);
    BYTE out[4];
    EXPECT_EQ(opening->Read(out, sizeof out, error), 0u);
    EXPECT_EQ(buffer.size(), 7u);

    CabBufferAsFile nothing("x");
    EXPECT_EQ(nothing.OpenCabFile(0x8000, 0, error), nullptr);
    EXPECT_EQ(error, 2);
}

/// A file of which every read fails with a C++ exception.
class ThrowingFile : public CabAbstractFile {
public:
    using CabAbstractFile::CabAbstractFile;
    std::unique_ptr<CabAbstractFile> GetTempCabFile() const override { throw std::bad_alloc(); }

protected:
    std::unique_ptr<CabOpenFile> DoOpenCabFile(int, int, int&) override {
        class Opening : public CabOpenFile {
            unsigned Read(void*, unsigned, int&) override { throw std::bad_alloc(); }
            unsigned Write(const void*, unsigned, int&) override { throw std::bad_alloc(); }
            LONG Seek(LONG, int, int&) override { throw std::bad_alloc(); }
        };
        return std::make_unique<Opening>();
    }
};

TEST(CabContext, ExceptionsOfFilesDoNotPassThroughTheLibrary) {
    TwoFiles files;
    ThrowingFile throwing("throwing");
    EXPECT_THROW(CabCompressionContext(throwing, files.destination).CompressSourceFile(),
                 ExceptionCompression);
    EXPECT_THROW(CabCompressionContext(files.source, throwing).CompressSourceFile(), ExceptionCompression);

    ThrowingFile throwingSource("source");
    CabCompressionContext(files.source, files.destination).CompressSourceFile();
    CabBufferAsFile cabinet("cabinet", files.out.data(), files.out.getDword());
    EXPECT_THROW(CabDecompressionContext(cabinet, throwingSource).DecompressSourceFile(),
                 ExceptionCompression);
}

/// Takes the functions of another module.
class OtherLibrary : public MicrosoftCabinetLibrary {
public:
    explicit OtherLibrary(const char* module) : MicrosoftCabinetLibrary(module) {}
};

TEST(MicrosoftCabinetLibrary, NeedsItsModule) {
    EXPECT_NO_THROW(MicrosoftCabinetLibrary());
    EXPECT_THROW(OtherLibrary("nvutil-no-such-module.dll"), ExceptionCabinetLibraryConstructionFailure);
    // On a platform with this module it lacks the functions.
    EXPECT_THROW(OtherLibrary("kernel32.dll"), ExceptionCabinetLibraryConstructionFailure);
}

}  // namespace
