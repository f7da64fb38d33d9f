// Profile (INI) files off the platform: what is kept to the byte, links, permissions, and other processes.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../profilefiles.h"
#include "platform/profile.h"

namespace {

using namespace platform::profile;
using namespace profiletest;
using namespace std::string_literals;

constexpr std::size_t enough = 1000;

TEST(ProfileFile, KeepsLayoutAndLineEnds) {
    const struct {
        std::string before;
        const char* section;
        const char* key;
        const char* value;
        std::string after;
    } cases[] = {
        {"; top\n\n[a]\n  K =  1  \n\n\n[b]\n", "a", "k", "2", "; top\n\n[a]\n  K =  2\n\n\n[b]\n"},
        {"[a]\nk=1\n\n; end\n\n[b]\n", "a", "j", "2", "[a]\nk=1\n\n; end\nj=2\n\n[b]\n"},
        {"[a]\nk=1\n\n[b]\n", "a", "k", nullptr, "[a]\n\n[b]\n"},
        {"[a]\rk=1", "c", "k", "2", "[a]\rk=1\r[c]\rk=2\r"},
        {"\r\n[ a ] ; x\nk = 1\r", "a", "j", "2", "\r\n[ a ] ; x\nk = 1\rj=2\r\n"},
        {"[a]\nk=1\0 tail\nz"s, "a", "k", "2", "[a]\nk=2\nz"},
        {"[a]\n\xFF\x80\0=x\n"s, "a", "k", "2", "[a]\n\xFF\x80\0=x\nk=2\n"s},
        {"; \xC3\xA4\n[\xC3\xA4]\nk=1\n", "\xC3\xA4", "k", "\xC3\xB6",
         "; \xC3\xA4\n[\xC3\xA4]\nk=\xC3\xB6\n"},
    };
    const Folder folder;
    for (const auto& [before, section, key, value, after] : cases) {
        const File file(folder / "a.ini", before);
        EXPECT_TRUE(WriteText(file, section, key, value));
        EXPECT_EQ(file.GetContent(), after);
        EXPECT_EQ(ReadText(file, section, key, "none", enough), value != nullptr ? value : "none");
    }
}

TEST(ProfileFile, HasANameOfAnyLanguage) {
    const Folder folder;
    EXPECT_TRUE(WriteText(File(folder / u8"Größe 東京.ini"), "a", "k", "v"));
    EXPECT_TRUE(fs::exists(folder / u8"Größe 東京.ini"));
    const File other(folder / u8"\uFFFD.ini", "[a]\nk=1\n");
    const std::u16string name = folder.GetPath().u16string() + u"/\xD800.ini";  // no text: a half
    EXPECT_FALSE(WriteText(name.c_str(), "a", "k", "v"));
    EXPECT_EQ(ReadText(name.c_str(), "a", "k", "D", enough), "D");
}

struct stat StatusOf(const File& file) {
    struct stat status {};
    EXPECT_EQ(stat(file.GetPath().c_str(), &status), 0);
    return status;
}

TEST(ProfileFile, KeepsOwnerAndPermissionsAndFollowsLinks) {
    const Folder folder;
    fs::create_directory(folder / "real");
    const File real(folder / "real/a.ini", "[a]\nk=1\n");
    // Somebody else's, as far as this process may give it away.
    constexpr uid_t somebody = 12345;
    [[maybe_unused]] const bool isGiven = chown(real.GetPath().c_str(), somebody, somebody + 1) == 0;
    fs::permissions(real.GetPath(), fs::perms(06640));
    const struct stat before = StatusOf(real);
    fs::create_symlink("real/a.ini", folder / "link");
    fs::create_symlink("link", folder / "to a link");
    fs::create_symlink("real/new.ini", folder / "to nothing");
    fs::create_symlink("endless", folder / "endless");

    EXPECT_TRUE(WriteText(File(folder / "to a link"), "a", "k", "2"));
    EXPECT_EQ(real.GetContent(), "[a]\nk=2\n");
    const struct stat after = StatusOf(real);
    EXPECT_NE(after.st_ino, before.st_ino) << "replaced in one step";
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_TRUE(fs::is_symlink(folder / "to a link") && fs::is_symlink(folder / "link"));
    EXPECT_TRUE(WriteText(File(folder / "to nothing"), "a", "k", "3"));
    EXPECT_TRUE(fs::exists(folder / "real/new.ini"));
    EXPECT_FALSE(WriteText(File(folder / "endless"), "a", "k", "4"));
    // No temporary file and no lock is left.
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "real"), fs::directory_iterator()), 2);
}

TEST(ProfileFile, NeverWaitsForAPipe) {
    const Folder folder;
    const File pipe(folder / "pipe");
    ASSERT_EQ(mkfifo(pipe.GetPath().c_str(), 0600), 0);
    EXPECT_EQ(ReadText(pipe, "a", "k", "D", enough), "D");
    EXPECT_FALSE(WriteText(pipe, "a", "k", "v"));
    EXPECT_TRUE(fs::is_fifo(pipe.GetPath()));
}

TEST(ProfileFile, LosesNothingOfSeveralProcesses) {
    const Folder folder;
    const File file(folder / "a.ini");
    constexpr int processes = 4;
    constexpr int keys = 25;
    for (int process = 0; process < processes; ++process) {
        if (fork() != 0) continue;
        bool isWritten = true;
        for (int key = 0; key < keys; ++key) {
            const std::string name = std::to_string(process) + "." + std::to_string(key);
            isWritten = WriteText(file, "a", name.c_str(), "v") && isWritten;
        }
        _exit(isWritten ? 0 : 1);
    }
    for (int process = 0; process < processes; ++process) {
        int status = -1;
        wait(&status);
        EXPECT_EQ(status, 0);
    }
    const std::string list = ReadText(file, "a", nullptr, "", 100000);
    EXPECT_EQ(std::count(list.begin(), list.end(), '\0'), processes * keys);
}

}  // namespace
