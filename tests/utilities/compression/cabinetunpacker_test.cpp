// Cabinets unpacked to disk: what arrives there, and what is refused without leaving a trace.
#include "utilities/compression/cabinetunpacker.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "platform/profilefiles.h"
#include "support/cabinettools.h"
#include "support/throws.h"

namespace {

using namespace cabinettest;
using namespace platform::cabinet;
using nvutil::CabinetUnpacker;
using profiletest::File;
namespace fs = std::filesystem;

/// Everything below a folder: files with their bytes, folders with nothing.
using Tree = std::map<std::string, std::string>;

std::string Text(const ByteBuffer& bytes) {
    return {bytes.begin(), bytes.end()};
}

CXString NameOf(const fs::path& path) {
    return path.string<WChar>().c_str();
}

class CabinetUnpacking : public testing::Test {
protected:
    void Write(const std::string& path, const std::string& bytes) const {
        fs::create_directories((targetPath / path).parent_path());
        const File file(targetPath / path, bytes);
    }

    Tree GetTree() const {
        Tree tree;
        if (!fs::exists(targetPath)) return tree;
        for (const auto& entry : fs::recursive_directory_iterator(targetPath)) {
            const std::u8string name = entry.path().lexically_relative(targetPath).generic_u8string();
            tree[{name.begin(), name.end()}] = entry.is_regular_file() ? File(entry.path()).GetContent() : "";
        }
        return tree;
    }

    const profiletest::Folder folder;
    const fs::path targetPath = folder / "target";
    const CXString target = NameOf(targetPath);
};

ByteBuffer Packed(const NamedFiles& files, WORD compression, DWORD folderThreshold = 0x7FFFFFFF) {
    CCAB parameters = UsualParameters();
    parameters.cbFolderThresh = folderThreshold;
    return Pack(files, compression, parameters).cabinet;
}

/// A stored cabinet of files of three bytes each, whose data is "abcdef..." as far as it reaches.
CabinetBuilder Stored(const std::vector<std::string>& names, WORD attributes = 0) {
    CabinetBuilder cabinet;
    ByteBuffer data;
    for (const std::string& name : names) {
        cabinet.File(name, {.size = 3, .offset = data.getDword(), .attributes = attributes});
        for (int i = 0; i < 3; ++i)
            data.push_back(static_cast<BYTE>('a' + data.size()));
    }
    return cabinet.Folder(tcompTYPE_NONE, {{data, data.size()}});
}

/// Why a cabinet is refused, behind "the cabinet: "; empty when it is not.
std::string Refusal(const ByteBuffer& cabinet, const nvutil::CabinetLimits& limits = {}) {
    try {
        const CabinetUnpacker unpacker(cabinet, limits);
    } catch (const ExceptionCompression& exception) {
        const std::string message = Narrow(exception.GetExceptionMesage());
        EXPECT_EQ(message.rfind("the cabinet: ", 0), 0u);
        return message.substr(message.find(": ") + 2);
    }
    return "";
}

constexpr char corrupt[] = "4: FDIERROR_CORRUPT_CABINET (Cabinet file is corrupt)";

TEST_F(CabinetUnpacking, WritesEveryFileOfEveryFolder) {
    const NamedFiles files = {{"models.map", Prose(100000)},
                              {"empty", {}},
                              {"DTDs\\printer.dtd", Noise(70000)},
                              {"V5.0/a/b/archive.jar", Noise(1)},
                              {"DTDs\\.hidden", Prose(32768)}};
    Tree expected = {{"DTDs", ""}, {"V5.0", ""}, {"V5.0/a", ""}, {"V5.0/a/b", ""}};
    for (const auto& [name, bytes] : files) {
        expected[fs::path(name.starts_with("DTDs") ? "DTDs/" + name.substr(5) : name).generic_string()] =
            Text(bytes);
    }
    for (const WORD compression : {tcompTYPE_NONE, tcompTYPE_MSZIP}) {
        for (const DWORD threshold : {0x7FFFFFFFu, 1000u}) {
            const CabinetUnpacker unpacker(Packed(files, compression, threshold));
            fs::remove_all(targetPath);
            EXPECT_FALSE(unpacker.IsUnpackedTo(target));
            unpacker.UnpackTo(target);
            EXPECT_EQ(GetTree(), expected) << compression << " " << threshold;
            EXPECT_TRUE(unpacker.IsUnpackedTo(target));
        }
    }
}

TEST_F(CabinetUnpacking, ReadsEveryKindOfCompression) {
    const ByteBuffer noise = Noise(70000);
    CabinetUnpacker(CabinetBuilder()
                        .Folder(LzxFolder())
                        .Folder(PlainLzxFolder(noise))
                        .Folder(QuantumFolder())
                        .Folder(tcompTYPE_NONE, {{BytesOf("s"), 1}})
                        .Folder(tcompTYPE_MSZIP, {{StoredMszip(BytesOf("z")), 1}})
                        .Folder(LzxFolder())
                        .Folder(QuantumFolder())
                        .File("lzx/name", {.size = 8})
                        .File("lzx/end", {.size = 3, .offset = 27})
                        .File("plain/first", {.size = 3, .folder = 1})
                        .File("plain/empty", {.size = 0, .offset = 3, .folder = 1})
                        .File("plain/across", {.size = 40000, .offset = 3, .folder = 1})
                        .File("plain/last", {.size = 29000, .offset = 41000, .folder = 1})
                        .File("quantum", {.size = 32, .folder = 2})
                        .File("stored", {.size = 1, .folder = 3})
                        .File("mszip", {.size = 1, .folder = 4})
                        .File("lzx/again", {.size = 3, .offset = 27, .folder = 5})
                        .File("qagain", {.size = 7, .folder = 6})
                        .Build())
        .UnpackTo(target);
    const std::string plain = Text(noise);
    EXPECT_EQ(GetTree(), (Tree{{"lzx", ""},
                               {"lzx/name", "printer:"},
                               {"lzx/again", "end"},
                               {"lzx/end", "end"},
                               {"mszip", "z"},
                               {"qagain", "Quantum"},
                               {"plain", ""},
                               {"plain/first", plain.substr(0, 3)},
                               {"plain/empty", ""},
                               {"plain/across", plain.substr(3, 40000)},
                               {"plain/last", plain.substr(41000, 29000)},
                               {"quantum", std::string("Quantum \0\x80\xFF xxxxxxxxxxxxxxxx end", 32)},
                               {"stored", "s"}}));
}

TEST_F(CabinetUnpacking, ReadsTheCabinetFromAFile) {
    const auto put = [this](const ByteBuffer& bytes) { return File(folder / "product.cab", Text(bytes)); };
    const File file = put(Packed({{"a", Prose(1000)}}, tcompTYPE_MSZIP));
    fs::resize_file(file.GetPath(), std::uintmax_t{1} << 31);  // what follows the cabinet takes no memory
    const CabinetUnpacker unpacker{CXString(file)};
    ASSERT_EQ(unpacker.GetFiles().size(), 1u);
    EXPECT_EQ(Narrow(unpacker.GetFiles()[0].path), "a");
    EXPECT_EQ(unpacker.GetFiles()[0].size, 1000u);
    constexpr WChar noCharacter = 0xD800;
    for (const CXString& missing :
         {NameOf(folder / "none.cab"), CXString(), NameOf(folder.GetPath()), CXString(noCharacter)})
        EXPECT_THROW(CabinetUnpacker{missing}, ExceptionCreateFileForReading);
    for (const ByteBuffer& content : {ByteBuffer(), ByteBuffer(36, 'x'), BytesOf("MSCF")})
        EXPECT_THROW(CabinetUnpacker{CXString(put(content))}, ExceptionCompression);
    // One that would be larger than 1 GiB is refused before there is memory for it.
    put(Stored({"a"}).Damage([](Records& r) { r.header.cabinetSize = 0x40000001; }).Build());
    fs::resize_file(file.GetPath(), std::uintmax_t{1} << 31);
    EXPECT_EQ(MessageOf<ExceptionCompression>([&] { CabinetUnpacker{CXString(file)}; }),
              file.GetPath().string() + " is larger than 1073741824 bytes");
}

TEST_F(CabinetUnpacking, ReplacesFilesAndKeepsTheRest) {
    Write("sub/old", "before");
    Write("sub/other", "kept");
    const CabinetUnpacker unpacker(Stored({"sub/old", "sub/new"}).Build());
    EXPECT_FALSE(unpacker.IsUnpackedTo(target));
    unpacker.UnpackTo(target);
    EXPECT_EQ(GetTree(), (Tree{{"sub", ""}, {"sub/old", "abc"}, {"sub/new", "def"}, {"sub/other", "kept"}}));
}

TEST_F(CabinetUnpacking, TakesOnlyNamesThatStayBelowTheFolder) {
    const std::string deep16 = "1/2/3/4/5/6/7/8/9/10/11/12/13/14/15/16";
    for (const std::string& name :
         {std::string("a"), std::string("a b"), std::string(" a"), std::string("..a"), std::string("a..b/.c"),
          std::string("console"), std::string("com10"), std::string("commander.com"), std::string("lpt"),
          std::string("a~1"), std::string("x\\y/z"), std::string(255, 'n'), deep16}) {
        std::string path = name;
        std::replace(path.begin(), path.end(), '\\', '/');
        EXPECT_EQ(Narrow(CabinetUnpacker(Stored({name}).Build()).GetFiles()[0].path), path);
    }
    constexpr WORD utf8 = 0x80;
    const struct {
        const char* reason;
        WORD attributes;
        std::vector<std::string> names;
    } refused[] = {
        {"has an empty part", 0, {"/a", "\\a", "//server/share", "\\\\?\\C:\\a", "a/", "a//b"}},
        {"has a part that ends with a blank or a dot",
         0,
         {"..", ".", "../a", "..\\a", "a/../b", "a\\..\\..\\b", "a/.", "./a", "...", ". ./a", "a.", "a ",
          "a. /b"}},
        {"has a character that no file name may have",
         0,
         {"C:a", "C:\\a", "a:stream", "a\tb", "a\x7F", "a*", "a?", "a|b", "\"a\"", "<a>"}},
        {"has a character that no file name may have",
         utf8,
         {"\xE4", "a\xED\xA0\x80", "\xC0\xAE\xC0\xAE/a", "a\xC0\xAF/b", "\xC2\x85", "\xC2\x9F"}},
        {"has the name of a device in it",
         0,
         {"CON", "nul", "sub/Aux.txt", "prn/a", "COM1", "lpt9.map", "com\xB9", "NUL .txt", "nul.tar.gz",
          "CONIN$", "conout$.x", "clock$"}},
        {"has the name of a device in it", utf8, {"COM\xC2\xB2"}},
        // As bytes these are few enough, as the name of a file they are not.
        {"has a part that is too long", 0, {std::string(128, '\xE4')}},
        {"has too many folders", 0, {deep16 + "/17"}},
    };
    for (const auto& [reason, attributes, names] : refused) {
        for (const std::string& name : names) {
            const std::string refusal = Refusal(Stored({name}, attributes).Build());
            EXPECT_TRUE(refusal.starts_with("the name ") && refusal.ends_with(reason)) << refusal;
        }
    }
    CabinetUnpacker(Stored({"\xE4\xF6.map"}).Build()).UnpackTo(target);
    CabinetUnpacker(Stored({"\xE2\x82\xAC/\xF0\x9F\x96\xA8"}, utf8).Build()).UnpackTo(target);
    EXPECT_EQ(GetTree(), (Tree{{"\xC3\xA4\xC3\xB6.map", "abc"},
                               {"\xE2\x82\xAC", ""},
                               {"\xE2\x82\xAC/\xF0\x9F\x96\xA8", "abc"}}));
}

TEST_F(CabinetUnpacking, RefusesPathsThatCannotStandTogether) {
    constexpr WORD utf8 = 0x80;
    const struct {
        std::vector<std::string> names;
        const char* refusal;
        WORD attributes = 0;
    } cases[] = {
        {{"a", "b", "a"}, "a and a cannot both exist"},
        {{"a/b", "a\\b"}, "a/b and a/b cannot both exist"},
        {{"Sub/File", "x", "sub/fILE"}, "Sub/File and sub/fILE cannot both exist"},
        {{"\xC9t\xE9", "\xE9T\xC9"}, "?t? and ?T? cannot both exist"},
        {{"\xCF\x89", "\xCE\xA9"}, "? and ? cannot both exist", utf8},
        {{"\xD0\xB6", "\xD0\x96"}, "? and ? cannot both exist", utf8},
        {{"a", "a/b"}, "a and a/b cannot both exist"},
        {{"a/b/c", "a/b"}, "a/b and a/b/c cannot both exist"},
        {{"A/b/c", "x", "a"}, "a and A/b/c cannot both exist"},
        {{"a", "a b", "a.b", "ab", "a!"}, ""},
        {{"a/b", "a/bc", "a/b.c", "ab/b"}, ""},
    };
    for (const auto& [names, refusal, attributes] : cases)
        EXPECT_EQ(Refusal(Stored(names, attributes).Build()), refusal);
}

TEST_F(CabinetUnpacking, RefusesWhatExpandsTooFar) {
    const ByteBuffer zeros =
        Packed({{"a", ByteBuffer(3000000)}, {"b", ByteBuffer(1000000)}}, tcompTYPE_MSZIP);
    const std::string refusal = std::to_string(zeros.size()) + " bytes expand to 4000000 bytes";
    const std::uint64_t reached = 4000000 / zeros.size() + 1;
    EXPECT_EQ(Refusal(zeros), "");
    EXPECT_EQ(Refusal(zeros, {4000000, reached}), "");
    EXPECT_EQ(Refusal(zeros, {3999999, reached}), refusal);
    EXPECT_EQ(Refusal(zeros, {4000000, reached / 2}), refusal);
    EXPECT_EQ(Refusal(zeros, {4000000, 0}), refusal);
    EXPECT_EQ(Refusal(ByteBuffer(zeros).append(ByteBuffer(3 * zeros.size(), 0)), {4000000, reached / 2}),
              refusal)
        << "what follows the cabinet justifies nothing";

    CabinetBuilder hidden = Stored({"a", "b", "c"});  // whose first six bytes no file has
    hidden.files.erase(hidden.files.begin(), hidden.files.begin() + 2);
    EXPECT_EQ(Refusal(hidden.Build(), {9}), "");
    EXPECT_NE(Refusal(hidden.Build(), {8}), "");

    const ByteBuffer deep = Stored({"a/b/c", "a/b/d", "A/e", "f"}).Build();  // 4 files, 3 folders
    EXPECT_EQ(Refusal(deep, {.entries = 7}), "");
    EXPECT_EQ(Refusal(deep, {.entries = 6}), "has more than 6 files and folders");
}

TEST_F(CabinetUnpacking, RefusesTablesThatAreNotInOrder) {
    constexpr char badMethod[] = "6: FDIERROR_BAD_COMPR_TYPE (Unknown compression type in a cabinet folder)";
    constexpr char aborted[] = "11: FDIERROR_USER_ABORT (FDI aborted)";
    const struct {
        const char* what;
        void (*damage)(Records&);
        const char* refusal;
    } cases[] = {
        {"nothing", [](Records&) {}, ""},
        {"files that share data", [](Records& r) { r.files[1].offset = 32766; }, corrupt},
        {"files in another order", [](Records& r) { std::swap(r.files[0], r.files[1]); }, corrupt},
        {"folders in another order", [](Records& r) { std::swap(r.files[1], r.files[2]); }, corrupt},
        {"a file beyond its folder", [](Records& r) { r.files[1].size = 4; }, corrupt},
        {"a file beyond all folders", [](Records& r) { r.files[2].folder = 3; }, corrupt},
        {"a file from before", [](Records& r) { r.files[0].folder = continuedFromPrevious; }, corrupt},
        {"a file that ends beyond 4 GiB", [](Records& r) { r.files[2].offset = 0xFFFFFFFE; }, corrupt},
        {"no file", [](Records& r) { r.header.fileCount = 0; }, corrupt},
        {"a neighbour", [](Records& r) { r.header.flags = hasPreviousCabinet; }, aborted},
        {"two folders over the same blocks", [](Records& r) { r.folders[1] = r.folders[0]; }, corrupt},
        {"an unknown method", [](Records& r) { r.folders[1].compression = 4; }, badMethod},
        {"a method's unknown bits", [](Records& r) { r.folders[1].compression = 0x0100; }, badMethod},
        {"LZX with a window of 2 MiB", [](Records& r) { r.folders[1].compression = 0x1503; }, ""},
        {"LZX with a larger window", [](Records& r) { r.folders[1].compression = 0x1603; }, badMethod},
        {"LZX with a window of 32 KiB", [](Records& r) { r.folders[1].compression = 0x0F03; }, ""},
        {"LZX with a smaller window", [](Records& r) { r.folders[1].compression = 0x0E03; }, badMethod},
        {"Quantum of level 1", [](Records& r) { r.folders[1].compression = 0x0A12; }, ""},
        {"Quantum of level 7", [](Records& r) { r.folders[1].compression = 0x1572; }, ""},
        {"Quantum of level 0", [](Records& r) { r.folders[1].compression = 0x0A02; }, badMethod},
        {"Quantum of level 8", [](Records& r) { r.folders[1].compression = 0x0A82; }, badMethod},
        {"Quantum with a small window", [](Records& r) { r.folders[1].compression = 0x0912; }, badMethod},
        {"Quantum with a large window", [](Records& r) { r.folders[1].compression = 0x1612; }, badMethod},
    };
    for (const auto& [what, damage, refusal] : cases) {
        const ByteBuffer abc = BytesOf("abc");
        const ByteBuffer area(20, 1);
        const ByteBuffer cabinet = CabinetBuilder()
                                       .Folder(tcompTYPE_NONE, {{Noise(32768), 32768}, {abc, 3}})
                                       .Folder(tcompTYPE_NONE, {{abc, 3}})
                                       .Folder(tcompTYPE_MSZIP, {})
                                       .File("a", {.size = 32767})  // the byte behind it has no file
                                       .File("b", {.size = 3, .offset = 32768})
                                       .File("c", {.size = 3, .folder = 1})
                                       .Reserve(area, area, area)
                                       .Damage(damage)
                                       .Build();
        EXPECT_EQ(Refusal(cabinet), refusal) << what;
    }
}

TEST_F(CabinetUnpacking, LeavesNoTraceOfADamagedCabinet) {
    Write("a", "before");
    FolderData lzx = LzxFolder();
    lzx.blocks[0].payload[1] = 0;  // a block of no type
    const FolderData mszip{tcompTYPE_MSZIP, {{StoredMszip(Noise(30)), 30, 0x12345678}}};
    for (const FolderData& damaged : {mszip, lzx}) {
        const CabinetUnpacker unpacker(
            Stored({"a", "new/b"}).Folder(damaged).File("c", {.size = 30, .folder = 1}).Build());
        EXPECT_THROW(unpacker.UnpackTo(target), ExceptionCompression);
        EXPECT_EQ(GetTree(), (Tree{{"a", "before"}}));
    }
}

TEST_F(CabinetUnpacking, RefusesWhatStandsInTheWay) {
    const struct {
        const char* existing;
        std::vector<std::string> names;
    } cases[] = {{"a/inside", {"x", "a"}}, {"a", {"x", "new/y", "a/b"}}, {"a", {"x", "a/b/c"}}};
    for (const auto& [existing, names] : cases) {
        fs::remove_all(targetPath);
        Write(existing, "before");
        const Tree before = GetTree();
        const CabinetUnpacker unpacker(Stored(names).Build());
        EXPECT_THROW(unpacker.UnpackTo(target), ExceptionFileOperationCompression) << existing;
        EXPECT_FALSE(unpacker.IsUnpackedTo(target));
        EXPECT_EQ(GetTree(), before);
    }
    constexpr WChar loneSurrogate = 0xD800;
    for (const CXString& noFolder : {NameOf(targetPath / "a"), CXString(), CXString(loneSurrogate)}) {
        EXPECT_THROW(CabinetUnpacker(Stored({"x"}).Build()).UnpackTo(noFolder),
                     ExceptionFileOperationCompression);
    }
}

}  // namespace
