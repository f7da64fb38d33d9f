// The folder that a cabinet is unpacked to: no link below it is followed, and a full disk changes nothing.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>

#include "platform/profilefiles.h"
#include "support/cabinetbuilder.h"
#include "utilities/compression/cabinetunpacker.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

using namespace cabinettest;
using nvutil::CabinetUnpacker;
using profiletest::File;
namespace fs = std::filesystem;

ByteBuffer CabinetOf(const std::string& name) {
    return BytesOf(StoredFile(name, "new"));
}

std::ptrdiff_t EntriesOf(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), {});
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
        const File outside(folder / "outside" / "file", "old");
        fs::create_symlink(destination, folder / "target" / link);
        const CabinetUnpacker unpacker(CabinetOf(name));
        const CXString target = (folder / "target").string<WChar>().c_str();
        EXPECT_THROW(unpacker.UnpackTo(target), ExceptionFileOperationCompression) << name;
        EXPECT_FALSE(unpacker.IsUnpackedTo(target)) << name;
        EXPECT_EQ(outside.GetContent(), "old") << name;
        EXPECT_EQ(EntriesOf(folder / "outside"), 1) << name;
        EXPECT_TRUE(fs::is_symlink(folder / "target" / link)) << name;
    }
}

TEST(UnpackedLinks, MayLeadToTheTargetFolder) {
    const profiletest::Folder folder;
    fs::create_directories(folder / "real");
    fs::create_directory_symlink("real", folder / "target");
    CabinetUnpacker(CabinetOf("sub/file")).UnpackTo((folder / "target").string<WChar>().c_str());
    EXPECT_EQ(File(folder / "real" / "sub" / "file").GetContent(), "new");
}

TEST(FullDisk, LeavesTheFolderAsItWas) {
    const profiletest::Folder folder;
    const File existing(folder / "a", "before");
    const CXString target = folder.GetPath().string<WChar>().c_str();
    const CabinetUnpacker unpacker(CabinetBuilder()
                                       .Folder(platform::cabinet::tcompTYPE_NONE, {{Noise(20000), 20000}})
                                       .File("a", {.size = 10})
                                       .File("new/b", {.size = 19990, .offset = 10})
                                       .Build());
    // Meanwhile no file grows beyond the limit; others that are open, such as a log, had better not grow
    // then.
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit{15000, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    bool isRefused = false;
    try {
        unpacker.UnpackTo(target);
    } catch (const ExceptionFileOperationCompression&) {
        isRefused = true;
    }
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_TRUE(isRefused);
    EXPECT_EQ(existing.GetContent(), "before");
    EXPECT_EQ(EntriesOf(folder.GetPath()), 1);
}

}  // namespace
