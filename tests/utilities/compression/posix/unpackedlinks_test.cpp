// Links below the folder that a cabinet is unpacked to: none is followed, whoever made it.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/cabinettools.h"
#include "platform/profilefiles.h"
#include "utilities/compression/cabinetunpacker.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

namespace fs = std::filesystem;

ByteBuffer CabinetOf(const std::string& name) {
    const std::string bytes = cabinettest::StoredFile(name, "new");
    return {bytes.begin(), bytes.end()};
}

std::string ContentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(UnpackedLinks, AreNotFollowed) {
    const struct {
        const char* link;
        const char* destination;
        const char* name;
    } cases[] = {
        {"folder", "../outside", "folder/file"}, {"folder", "../outside", "folder/new/file"},
        {"file", "../outside/file", "file"},     {"missing", "../outside/none", "missing"},
        {"itself", "itself", "itself/file"},     {"inner", "inside", "inner/file"},
    };
    for (const auto& [link, destination, name] : cases) {
        const profiletest::Folder folder;
        fs::create_directories(folder / "outside");
        fs::create_directories(folder / "target" / "inside");
        std::ofstream(folder / "outside" / "file") << "old";
        fs::create_symlink(destination, folder / "target" / link);
        const nvutil::CabinetUnpacker unpacker(CabinetOf(name));
        const CXString target = (folder / "target").string<WChar>().c_str();
        EXPECT_THROW(unpacker.UnpackTo(target), ExceptionFileOperationCompression) << name;
        EXPECT_FALSE(unpacker.IsUnpackedTo(target)) << name;
        EXPECT_EQ(ContentOf(folder / "outside" / "file"), "old") << name;
        EXPECT_EQ(std::distance(fs::directory_iterator(folder / "outside"), {}), 1) << name;
        EXPECT_TRUE(fs::is_symlink(folder / "target" / link)) << name;
    }
}

TEST(UnpackedLinks, MayLeadToTheTargetFolder) {
    const profiletest::Folder folder;
    fs::create_directories(folder / "real");
    fs::create_directory_symlink("real", folder / "target");
    nvutil::CabinetUnpacker(CabinetOf("sub/file")).UnpackTo((folder / "target").string<WChar>().c_str());
    EXPECT_EQ(ContentOf(folder / "real" / "sub" / "file"), "new");
}

TEST(UnpackedNames, OfTheTargetFolderMustBeText) {
    constexpr WChar loneSurrogate = 0xD800;
    EXPECT_THROW(nvutil::CabinetUnpacker(CabinetOf("a")).UnpackTo(CXString(loneSurrogate)),
                 ExceptionFileOperationCompression);
}

}  // namespace
