// Cabinets unpacked to disk: what arrives there, and what is refused without leaving a trace.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "platform/cabinettools.h"
#include "platform/profilefiles.h"
#include "support/narrow.h"
#include "utilities/compression/cabinetunpacker.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

using namespace cabinettest;
using platform::cabinet::tcompTYPE_MSZIP;
using platform::cabinet::tcompTYPE_NONE;
namespace fs = std::filesystem;

/// Everything below a folder: files with their bytes, folders with a slash behind their name and nothing.
using Tree = std::map<std::string, std::string>;

std::string Text(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

class CabinetUnpacking : public testing::Test {
protected:
    CXString Target() const { return (m_folder / "target").string<WChar>().c_str(); }
    fs::path TargetPath() const { return m_folder / "target"; }

    void Write(const std::string& path, const std::string& bytes) const {
        const fs::path file = TargetPath() / path;
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << bytes;
    }

    Tree GetTree() const {
        Tree tree;
        if (!fs::exists(TargetPath())) return tree;
        for (const auto& entry : fs::recursive_directory_iterator(TargetPath())) {
            const std::u8string name = entry.path().lexically_relative(TargetPath()).generic_u8string();
            std::string& content = tree[{name.begin(), name.end()}];
            std::ifstream file(entry.path(), std::ios::binary);
            if (entry.is_regular_file()) content.assign(std::istreambuf_iterator<char>(file), {});
        }
        return tree;
    }

    profiletest::Folder m_folder;
};

ByteBuffer Buffer(const Bytes& bytes) {
    ByteBuffer buffer;
    buffer.insert(buffer.end(), bytes.begin(), bytes.end());
    return buffer;
}

ByteBuffer Packed(const NamedFiles& files, WORD compression, int folderThreshold = 0x7FFFFFFF) {
    platform::cabinet::CCAB parameters = UsualParameters();
    parameters.cbFolderThresh = static_cast<DWORD>(folderThreshold);
    MemoryFiles set;
    return Buffer(Pack(set, files, compression, parameters).cabinet);
}

/// A stored cabinet of files of three bytes each, whose data is "abcdef..." as far as it reaches.
HandMadeCabinet Stored(const std::vector<std::string>& names, std::uint16_t attributes = 0) {
    HandMadeCabinet cabinet;
    Bytes data;
    for (const std::string& name : names) {
        cabinet.files.push_back({name, 3, static_cast<std::uint32_t>(data.size()), 0, attributes});
        for (int i = 0; i < 3; ++i)
            data.push_back(static_cast<BYTE>('a' + data.size()));
    }
    const auto size = static_cast<std::uint16_t>(data.size());
    cabinet.folders = {{tcompTYPE_NONE, {{data, size}}}};
    return cabinet;
}

TEST_F(CabinetUnpacking, WritesEveryFileOfEveryFolder) {
    const NamedFiles files = {{"models.map", Prose(100000)},
                              {"empty", {}},
                              {"DTDs\\printer.dtd", Noise(70000)},
                              {"V5.0/a/b/archive.jar", Noise(1)},
                              {"DTDs\\.hidden", Prose(32768)}};
    const Tree expected = {{"models.map", Text(files[0].second)},
                           {"empty", ""},
                           {"DTDs", ""},
                           {"DTDs/printer.dtd", Text(files[2].second)},
                           {"V5.0", ""},
                           {"V5.0/a", ""},
                           {"V5.0/a/b", ""},
                           {"V5.0/a/b/archive.jar", Text(files[3].second)},
                           {"DTDs/.hidden", Text(files[4].second)}};
    for (const WORD compression : {tcompTYPE_NONE, tcompTYPE_MSZIP}) {
        for (const int threshold : {0x7FFFFFFF, 1000}) {
            const nvutil::CabinetUnpacker unpacker(Packed(files, compression, threshold));
            fs::remove_all(TargetPath());
            EXPECT_FALSE(unpacker.IsUnpackedTo(Target()));
            unpacker.UnpackTo(Target());
            EXPECT_EQ(GetTree(), expected) << compression << " " << threshold;
            EXPECT_TRUE(unpacker.IsUnpackedTo(Target()));
        }
    }
}

TEST_F(CabinetUnpacking, ReadsEveryKindOfCompression) {
    const Bytes noise = Noise(70000);
    HandMadeCabinet cabinet;
    cabinet.folders = {LzxFolder(),
                       PlainLzxFolder(noise),
                       QuantumFolder(),
                       {tcompTYPE_NONE, {{{'s'}, 1}}},
                       {tcompTYPE_MSZIP, {{StoredMszip({'z'}), 1}}},
                       LzxFolder(),
                       QuantumFolder()};
    cabinet.files = {{"lzx/name", 8, 0, 0},
                     {"lzx/end", 3, 27, 0},
                     {"plain/first", 3, 0, 1},
                     {"plain/empty", 0, 3, 1},
                     {"plain/across", 40000, 3, 1},
                     {"plain/last", 29000, 41000, 1},
                     {"quantum", 32, 0, 2},
                     {"stored", 1, 0, 3},
                     {"mszip", 1, 0, 4},
                     {"lzx/again", 3, 27, 5},
                     {"qagain", 7, 0, 6}};
    nvutil::CabinetUnpacker(Buffer(cabinet.Build())).UnpackTo(Target());
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
    const ByteBuffer bytes = Packed({{"a", Prose(1000)}}, tcompTYPE_MSZIP);
    const fs::path file = m_folder / "product.cab";
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    fs::resize_file(file, std::uintmax_t{1} << 31);  // what follows the cabinet takes no memory
    const nvutil::CabinetUnpacker unpacker(CXString(file.string<WChar>().c_str()));
    ASSERT_EQ(unpacker.GetFiles().size(), 1u);
    EXPECT_EQ(Narrow(unpacker.GetFiles()[0].path), "a");
    EXPECT_EQ(unpacker.GetFiles()[0].size, 1000u);
    constexpr WChar noCharacter = 0xD800;
    for (const CXString& missing :
         {CXString((m_folder / "none.cab").string<WChar>().c_str()), CXString(),
          CXString(m_folder.GetPath().string<WChar>().c_str()), CXString(noCharacter)})
        EXPECT_THROW(nvutil::CabinetUnpacker{missing}, ExceptionCreateFileForReading);
    for (const std::string& content : {std::string(), std::string(36, 'x'), std::string("MSCF")}) {
        std::ofstream(file, std::ios::binary) << content;
        EXPECT_THROW(nvutil::CabinetUnpacker(CXString(file.string<WChar>().c_str())), ExceptionCompression);
    }
}

TEST_F(CabinetUnpacking, ReplacesFilesAndKeepsTheRest) {
    Write("sub/old", "before");
    Write("sub/other", "kept");
    Write("sub/nvutil.dtd", "kept too");
    const nvutil::CabinetUnpacker unpacker(Buffer(Stored({"sub/old", "sub/new"}).Build()));
    EXPECT_FALSE(unpacker.IsUnpackedTo(Target()));
    unpacker.UnpackTo(Target());
    EXPECT_EQ(GetTree(), (Tree{{"sub", ""},
                               {"sub/old", "abc"},
                               {"sub/new", "def"},
                               {"sub/other", "kept"},
                               {"sub/nvutil.dtd", "kept too"}}));
}

TEST_F(CabinetUnpacking, TakesOnlyNamesThatStayBelowTheFolder) {
    const std::string deep16 = "1/2/3/4/5/6/7/8/9/10/11/12/13/14/15/16";
    const struct {
        std::string name;
        const char* path;  ///< Null for a name that is refused, empty for one that stays as it is.
    } cases[] = {
        {"a", "a"},
        {"a b", "a b"},
        {" a", " a"},
        {"..a", "..a"},
        {"a..b/.c", "a..b/.c"},
        {"x\\y/z", "x/y/z"},
        {"console", "console"},
        {"com10", "com10"},
        {"commander.com", "commander.com"},
        {"lpt", "lpt"},
        {"a~1", "a~1"},
        {std::string(255, 'n'), ""},
        {deep16, deep16.c_str()},
        {deep16 + "/17", nullptr},
        {"..", nullptr},
        {".", nullptr},
        {"../a", nullptr},
        {"..\\a", nullptr},
        {"a/../b", nullptr},
        {"a\\..\\..\\b", nullptr},
        {"a/.", nullptr},
        {"./a", nullptr},
        {"...", nullptr},
        {". ./a", nullptr},
        {"/a", nullptr},
        {"\\a", nullptr},
        {"//server/share", nullptr},
        {"\\\\?\\C:\\a", nullptr},
        {"a/", nullptr},
        {"a//b", nullptr},
        {"C:a", nullptr},
        {"C:\\a", nullptr},
        {"a:stream", nullptr},
        {"a.", nullptr},
        {"a ", nullptr},
        {"a. /b", nullptr},
        {"a\tb", nullptr},
        {"a\x7F", nullptr},
        {"a*", nullptr},
        {"a?", nullptr},
        {"a|b", nullptr},
        {"\"a\"", nullptr},
        {"<a>", nullptr},
        {"CON", nullptr},
        {"nul", nullptr},
        {"sub/Aux.txt", nullptr},
        {"prn/a", nullptr},
        {"COM1", nullptr},
        {"lpt9.map", nullptr},
        {"com\xB9", nullptr},
        {"NUL .txt", nullptr},
        {"nul.tar.gz", nullptr},
        {"CONIN$", nullptr},
        {"conout$.x", nullptr},
        {"clock$", nullptr},
    };
    for (const auto& [name, path] : cases) {
        const ByteBuffer bytes = Buffer(Stored({name}).Build());
        if (path == nullptr) {
            EXPECT_THROW(nvutil::CabinetUnpacker{bytes}, ExceptionCompression) << name;
            continue;
        }
        const nvutil::CabinetUnpacker unpacker(bytes);
        EXPECT_EQ(Narrow(unpacker.GetFiles()[0].path), *path == '\0' ? name : path);
    }
}

TEST_F(CabinetUnpacking, ReadsNamesInTheirCodePage) {
    constexpr std::uint16_t utf8 = 0x80;
    nvutil::CabinetUnpacker(Buffer(Stored({"\xE4\xF6.map"}).Build())).UnpackTo(Target());
    nvutil::CabinetUnpacker(Buffer(Stored({"\xE2\x82\xAC/\xF0\x9F\x96\xA8"}, utf8).Build()))
        .UnpackTo(Target());
    EXPECT_EQ(GetTree(), (Tree{{"\xC3\xA4\xC3\xB6.map", "abc"},
                               {"\xE2\x82\xAC", ""},
                               {"\xE2\x82\xAC/\xF0\x9F\x96\xA8", "abc"}}));
    try {
        const nvutil::CabinetUnpacker refusedOne(Buffer(Stored({"COM\xC2\xB2"}, utf8).Build()));
        ADD_FAILURE();
    } catch (const ExceptionCompression& refused) {
        EXPECT_EQ(refused.GetExceptionMesage(),
                  CXString(NV_TEXT("the cabinet: the name COM\u00B2 has the name of a device in it")));
    }
    for (const char* const name : {"\xE4", "a\xED\xA0\x80", "\xC0\xAE\xC0\xAE/a", "a\xC0\xAF/b", "\xC2\x85"})
        EXPECT_THROW(nvutil::CabinetUnpacker(Buffer(Stored({name}, utf8).Build())), ExceptionCompression)
            << name;
    for (const auto& [lower, upper] : {std::pair("\xCF\x89", "\xCE\xA9"), {"\xD0\xB6", "\xD0\x96"}})
        EXPECT_THROW(nvutil::CabinetUnpacker(Buffer(Stored({lower, upper}, utf8).Build())),
                     ExceptionCompression);
    // As bytes these are few enough, as the name of a file they are not.
    EXPECT_THROW(nvutil::CabinetUnpacker(Buffer(Stored({std::string(130, '\xE4')}).Build())),
                 ExceptionCompression);
}

TEST_F(CabinetUnpacking, RefusesPathsThatCannotStandTogether) {
    const struct {
        std::vector<std::string> names;
        bool isRefused;
    } cases[] = {
        {{"a", "b", "a"}, true},
        {{"a/b", "a\\b"}, true},
        {{"Sub/File", "x", "sub/fILE"}, true},
        {{"\xC9t\xE9", "\xE9T\xC9"}, true},
        {{"a", "a/b"}, true},
        {{"a/b/c", "a/b"}, true},
        {{"A/b/c", "x", "a"}, true},
        {{"a", "a b", "a.b", "ab", "a!"}, false},
        {{"a/b", "a/bc", "a/b.c", "ab/b"}, false},
    };
    for (const auto& [names, isRefused] : cases) {
        const ByteBuffer bytes = Buffer(Stored(names).Build());
        if (isRefused) {
            EXPECT_THROW(nvutil::CabinetUnpacker{bytes}, ExceptionCompression) << names[0];
        } else {
            EXPECT_EQ(nvutil::CabinetUnpacker(bytes).GetFiles().size(), names.size());
        }
    }
}

TEST_F(CabinetUnpacking, RefusesWhatExpandsTooFar) {
    const ByteBuffer zeros = Packed({{"a", Bytes(3000000)}, {"b", Bytes(1000000)}}, tcompTYPE_MSZIP);
    const std::uint64_t reached = 4000000 / zeros.size() + 1;
    EXPECT_NO_THROW(nvutil::CabinetUnpacker(zeros, {4000000, reached}));
    EXPECT_THROW(nvutil::CabinetUnpacker(zeros, {3999999, reached}), ExceptionCompression);
    EXPECT_THROW(nvutil::CabinetUnpacker(zeros, {4000000, reached / 2}), ExceptionCompression);
    EXPECT_NO_THROW(nvutil::CabinetUnpacker{zeros});
    ByteBuffer longer = zeros;
    longer.resize(longer.size() * 4);
    EXPECT_THROW(nvutil::CabinetUnpacker(longer, {4000000, reached / 2}), ExceptionCompression)
        << "what follows the cabinet justifies nothing";

    HandMadeCabinet hidden = Stored({"a", "b", "c"});  // whose first six bytes no file has
    hidden.files.erase(hidden.files.begin(), hidden.files.begin() + 2);
    EXPECT_NO_THROW(nvutil::CabinetUnpacker(Buffer(hidden.Build()), {9}));
    EXPECT_THROW(nvutil::CabinetUnpacker(Buffer(hidden.Build()), {8}), ExceptionCompression);
}

TEST_F(CabinetUnpacking, RefusesTooManyFilesAndFolders) {
    const ByteBuffer deep = Buffer(Stored({"a/b/c", "a/b/d", "A/e", "f"}).Build());  // 4 files, 3 folders
    EXPECT_EQ(nvutil::CabinetUnpacker(deep, {.entries = 7}).GetFiles().size(), 4u);
    EXPECT_THROW(nvutil::CabinetUnpacker(deep, {.entries = 6}), ExceptionCompression);
}

// Folder 0 holds 32768 + 3 bytes in two blocks, folder 1 the bytes "abc".
HandMadeCabinet TwoFolders() {
    HandMadeCabinet cabinet;
    const Bytes abc = {'a', 'b', 'c'};
    cabinet.folders = {{tcompTYPE_NONE, {{Noise(32768), 32768}, {abc, 3}}}, {tcompTYPE_NONE, {{abc, 3}}}};
    cabinet.files = {{"a", 32768, 0, 0}, {"b", 3, 32768, 0}, {"c", 3, 0, 1}};
    return cabinet;
}

TEST_F(CabinetUnpacking, RefusesTablesThatAreNotInOrder) {
    const struct {
        const char* what;
        void (*change)(HandMadeCabinet&);
        bool isRefused;
    } cases[] = {
        {"nothing", [](HandMadeCabinet&) {}, false},
        {"reserved areas",
         [](HandMadeCabinet& c) {
             c.flags = 4;
             c.headerReserve = c.folderReserve = c.dataReserve = Bytes(20, 1);
         },
         false},
        {"data that no file has", [](HandMadeCabinet& c) { c.files.erase(c.files.begin()); }, false},
        {"an empty folder",
         [](HandMadeCabinet& c) {
             c.folders.push_back({tcompTYPE_MSZIP, {}});
         },
         false},
        {"files that share data", [](HandMadeCabinet& c) { c.files[1].offset = 32767; }, true},
        {"files in another order", [](HandMadeCabinet& c) { std::swap(c.files[0], c.files[1]); }, true},
        {"folders in another order", [](HandMadeCabinet& c) { std::swap(c.files[1], c.files[2]); }, true},
        {"a file beyond its folder", [](HandMadeCabinet& c) { c.files[1].size = 4; }, true},
        {"a file beyond all folders", [](HandMadeCabinet& c) { c.files[2].folder = 2; }, true},
        {"a file from the cabinet before", [](HandMadeCabinet& c) { c.files[0].folder = 0xFFFD; }, true},
        {"a file that ends beyond 4 GiB", [](HandMadeCabinet& c) { c.files[2].offset = 0xFFFFFFFE; }, true},
        {"no file", [](HandMadeCabinet& c) { c.files.clear(); }, true},
        {"a neighbour",
         [](HandMadeCabinet& c) {
             c.flags = 1, c.neighbours = {"x", "y"};
         },
         true},
        {"an unknown method", [](HandMadeCabinet& c) { c.folders[1].compression = 4; }, true},
        {"a method's unknown bits", [](HandMadeCabinet& c) { c.folders[1].compression = 0x0100; }, true},
        {"a window that is too large", [](HandMadeCabinet& c) { c.folders[1].compression = 0x1603; }, true},
        {"LZX with a small window", [](HandMadeCabinet& c) { c.folders[1].compression = 0x0E03; }, true},
        {"Quantum", [](HandMadeCabinet& c) { c.folders[1].compression = 0x0A12; }, false},
        {"Quantum of level 0", [](HandMadeCabinet& c) { c.folders[1].compression = 0x0A02; }, true},
        {"Quantum of level 8", [](HandMadeCabinet& c) { c.folders[1].compression = 0x0A82; }, true},
        {"Quantum without a window", [](HandMadeCabinet& c) { c.folders[1].compression = 2; }, true},
    };
    for (const auto& [what, change, isRefused] : cases) {
        HandMadeCabinet cabinet = TwoFolders();
        change(cabinet);
        const ByteBuffer bytes = Buffer(cabinet.Build());
        if (isRefused) {
            EXPECT_THROW(nvutil::CabinetUnpacker{bytes}, ExceptionCompression) << what;
        } else {
            EXPECT_NO_THROW(nvutil::CabinetUnpacker(bytes).UnpackTo(Target())) << what;
        }
    }
    // Two folders over the same blocks: 36 bytes of header, then the folders' entries of 8 bytes each.
    ByteBuffer bytes = Buffer(TwoFolders().Build());
    for (std::size_t i = 36; i < 40; ++i)
        bytes[i + 8] = bytes[i];
    EXPECT_THROW(nvutil::CabinetUnpacker{bytes}, ExceptionCompression);
}

TEST_F(CabinetUnpacking, LeavesNoTraceOfADamagedCabinet) {
    Write("a", "before");
    HandMadeCabinet cabinet = Stored({"a", "new/b"});
    cabinet.folders.push_back({tcompTYPE_MSZIP, {{StoredMszip({'x', 'y', 'z'}), 3, 0x12345678}}});
    cabinet.files.push_back({"c", 3, 0, 1});
    HandMadeCabinet lzx = Stored({"a", "new/b"});
    lzx.folders.push_back(LzxFolder());
    lzx.folders.back().blocks[0].payload[1] = 0;  // a block of no type
    lzx.files.push_back({"c", 30, 0, 1});
    for (const HandMadeCabinet& damaged : {cabinet, lzx}) {
        const nvutil::CabinetUnpacker unpacker(Buffer(damaged.Build()));
        EXPECT_THROW(unpacker.UnpackTo(Target()), ExceptionCompression);
        EXPECT_EQ(GetTree(), (Tree{{"a", "before"}}));
    }
}

TEST_F(CabinetUnpacking, RefusesWhatStandsInTheWay) {
    const struct {
        const char* existing;
        std::vector<std::string> names;
    } cases[] = {{"a/inside", {"x", "a"}}, {"a", {"x", "new/y", "a/b"}}, {"a", {"x", "a/b/c"}}};
    for (const auto& [existing, names] : cases) {
        fs::remove_all(TargetPath());
        Write(existing, "before");
        const Tree before = GetTree();
        const nvutil::CabinetUnpacker unpacker(Buffer(Stored(names).Build()));
        EXPECT_THROW(unpacker.UnpackTo(Target()), ExceptionFileOperationCompression) << existing;
        EXPECT_FALSE(unpacker.IsUnpackedTo(Target()));
        EXPECT_EQ(GetTree(), before);
    }
    const CXString file = (TargetPath() / "a").string<WChar>().c_str();
    EXPECT_THROW(nvutil::CabinetUnpacker(Buffer(Stored({"x"}).Build())).UnpackTo(file),
                 ExceptionFileOperationCompression);
    EXPECT_THROW(nvutil::CabinetUnpacker(Buffer(Stored({"x"}).Build())).UnpackTo(CXString()),
                 ExceptionFileOperationCompression);
}

}  // namespace
