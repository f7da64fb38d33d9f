// Tests of sealing off Windows: the layout of sealed data, the key file, and what must not be trusted.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/profilefiles.h"
#include "support/bytes.h"
#include "support/throws.h"
#include "utilities/utilitiesdll/dataencrypter.h"

namespace {

namespace fs = std::filesystem;

/// A home folder of its own for a test. Nothing of it exists beyond the folder itself.
class Sealing : public testing::Test {
protected:
    Sealing() : m_dataHome(std::getenv("XDG_DATA_HOME")) { UseDataHome("data"); }
    ~Sealing() override { setenv("XDG_DATA_HOME", m_dataHome.c_str(), 1); }

    std::string In(const std::string& name) const { return m_folder / name; }
    std::string KeyFile() const { return std::string(std::getenv("XDG_DATA_HOME")) + "/nvutil/seal.key"; }
    void UseDataHome(const std::string& name) const { setenv("XDG_DATA_HOME", In(name).c_str(), 1); }

    const profiletest::Folder m_folder;
    const std::string m_dataHome;
};

const ByteBuffer secret = Bytes("53 45 43 52 45 54");

/// Why sealing is refused; empty when it is not.
std::string SealingRefusal() {
    try {
        DataEncrypter::EncryptBytes(secret);
        return {};
    } catch (const ExceptionDataEncrypterFailure& failure) {
        EXPECT_EQ(Narrow(failure.GetExceptionLocationFunctionName()), "DataEncrypter::EncryptBytes");
        return Narrow(failure.GetExceptionMesage());
    }
}

// A key file and what was sealed with it, by an independent calculation: users have such data.
constexpr char knownKeyFile[] =
    "4E 56 55 54 4B 45 59 31 29 72 BB 04 4D 96 DF 28 71 BA 03 4C 95 DE 27 70 B9 02 4B 94 DD 26 "
    "6F B8 01 4A 93 DC 25 6E B7 00";
constexpr char knownSealed[] =
    "4E 56 53 44 01 00 03 00 4E 00 56 00 55 00 80 81 82 83 84 85 86 87 88 89 8A 8B 8C 8D 8E 8F "
    "90 91 92 93 94 95 96 97 F6 A6 B0 82 49 F0 BE 5B A5 F7 88 E9 61 D4 3D DF 86 3D 0C E7 9A 72";
// The master key and the key derived from it for sealing, each byte combined with the mask.
constexpr BYTE mask = 0x5A;
constexpr const char* maskedKeys[] = {
    "73 28 E1 5E 17 CC 85 72 2B E0 59 16 CF 84 7D 2A E3 58 11 CE 87 7C 35 E2 5B 10 C9 86 7F 34 "
    "ED 5A",
    "E4 47 07 C0 B0 49 19 F0 AA 5A 26 87 BD 40 0A 25 38 58 BE 65 8C B4 1B 77 AB 65 22 7D 15 2F "
    "95 68"};

void WriteFile(const fs::path& path, const ByteBuffer& bytes) {
    const profiletest::File file(path, std::string(bytes.begin(), bytes.end()));
}

/// Starts a child that does something and ends well unless that throws.
template <class Body>
pid_t StartChild(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(0);
    }
    return child;
}

bool Succeeded(pid_t child) {
    int status = 1;
    return waitpid(child, &status, 0) == child && status == 0;
}

/// Whether the writable memory of this process holds a key, of which half is enough.
bool HoldsKey(const ByteBuffer& maskedKey) {
    constexpr unsigned long largestRegion = 1UL << 28;  // only a sanitizer has larger ones
    std::ifstream maps("/proc/self/maps");
    std::ifstream memory("/proc/self/mem", std::ios::binary);
    for (std::string line; std::getline(maps, line);) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char rights[5] = {};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, rights) != 3 || rights[1] != 'w') continue;
        if (end - begin > largestRegion) continue;
        std::vector<char> bytes(end - begin);
        memory.clear();
        memory.seekg(static_cast<std::streamoff>(begin));
        memory.read(bytes.data(), std::streamsize(bytes.size()));
        const auto isKey = [](char byte, BYTE masked) { return BYTE(byte) == (masked ^ mask); };
        const auto found = std::search(bytes.begin(), bytes.begin() + memory.gcount(), maskedKey.begin(),
                                       maskedKey.begin() + std::ptrdiff_t(maskedKey.size() / 2), isKey);
        if (found != bytes.begin() + memory.gcount()) return true;
    }
    return false;
}

TEST_F(Sealing, KnownDataIsUnsealedAndNoKeyStaysInMemory) {
    // A child writes the key, so that the memory of this process never holds it.
    ASSERT_TRUE(Succeeded(StartChild([this] {
        const fs::path key = KeyFile();
        fs::create_directories(key.parent_path());
        fs::permissions(key.parent_path(), fs::perms(0700));
        WriteFile(key, Bytes(knownKeyFile));
        fs::permissions(key, fs::perms(0600));
    })));
    EXPECT_EQ(DataEncrypter::DecryptBytes(Bytes(knownSealed)), secret);
    std::thread([] { EXPECT_EQ(SealingRefusal(), ""); }).join();
    for (const char* const key : maskedKeys)
        EXPECT_FALSE(HoldsKey(Bytes(key)));
    EXPECT_TRUE(HoldsKey(ByteBuffer(64, mask)));  // there are zeros: the search finds what is there
}

TEST_F(Sealing, EveryChangedOrAddedByteIsRefused) {
    const ByteBuffer sealed = DataEncrypter::EncryptBytes(secret);
    EXPECT_EQ(sealed.size(), 14u + 24 + secret.size() + 16);
    EXPECT_EQ(Hex(ByteBuffer(sealed.data(), 14)), "4E 56 53 44 01 00 03 00 4E 00 56 00 55 00");
    for (std::size_t i = 0; i < sealed.size() * 8; ++i) {
        ByteBuffer changed = sealed;
        changed[i / 8] ^= static_cast<BYTE>(1 << i % 8);
        EXPECT_THROW(DataEncrypter::DecryptBytes(changed), ExceptionDataEncrypterFailure) << "bit " << i;
    }
    ByteBuffer longer = sealed;
    longer.appendByteValue(0);
    EXPECT_THROW(DataEncrypter::DecryptBytes(longer), ExceptionDataEncrypterFailure);
}

TEST_F(Sealing, KeysAreMadeForTheUserAlone) {
    umask(0);
    EXPECT_EQ(SealingRefusal(), "");
    umask(0077);
    UseDataHome("another/and below");
    EXPECT_EQ(SealingRefusal(), "");
    umask(0022);
    fs::permissions(fs::path(KeyFile()).parent_path(), fs::perms(0755));
    EXPECT_EQ(SealingRefusal(), "");
    for (const char* const home : {"data", "another/and below"}) {
        UseDataHome(home);
        EXPECT_EQ(fs::status(KeyFile()).permissions(), fs::perms(0600));
        EXPECT_EQ(fs::file_size(KeyFile()), 40u);
        const fs::path folder = fs::path(KeyFile()).parent_path();
        EXPECT_EQ(fs::status(folder).permissions(), fs::perms(0700));
        EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
    }
}

TEST_F(Sealing, AnotherUsersKeyUnsealsNothing) {
    const ByteBuffer sealed = DataEncrypter::EncryptBytes(secret);
    UseDataHome("other");
    EXPECT_THROW(DataEncrypter::DecryptBytes(sealed), ExceptionDataEncrypterFailure);
    EXPECT_FALSE(fs::exists(In("other")));  // unsealing makes no key
    EXPECT_EQ(SealingRefusal(), "");
    EXPECT_THROW(DataEncrypter::DecryptBytes(sealed), ExceptionDataEncrypterFailure);
}

TEST_F(Sealing, HomesThatCannotHoldAKeyAreRefused) {
    const std::string home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    const auto refusalWith = [](const char* dataHome, const char* newHome) {
        dataHome != nullptr ? setenv("XDG_DATA_HOME", dataHome, 1) : unsetenv("XDG_DATA_HOME");
        newHome != nullptr ? setenv("HOME", newHome, 1) : unsetenv("HOME");
        return SealingRefusal();
    };
    std::ofstream(In("file")) << "no folder";
    EXPECT_NE(refusalWith(nullptr, nullptr).find("neither XDG_DATA_HOME nor HOME"), std::string::npos);
    EXPECT_NE(refusalWith("relative", "").find("neither XDG_DATA_HOME nor HOME"), std::string::npos);
    EXPECT_NE(refusalWith(In("file").c_str(), nullptr).find(In("file/nvutil")), std::string::npos);
    EXPECT_NE(refusalWith("/proc/self", nullptr).find("/proc/self/nvutil"), std::string::npos);  // unwritable
    EXPECT_NE(refusalWith(nullptr, In("home").c_str()).find(In("home/.local")), std::string::npos);
    EXPECT_FALSE(fs::exists(In("home")));
    fs::create_directory(In("home"));
    EXPECT_EQ(refusalWith(nullptr, In("home").c_str()), "");
    EXPECT_TRUE(fs::exists(In("home/.local/share/nvutil/seal.key")));
    setenv("HOME", home.c_str(), 1);
}

void MoveAway(const fs::path& path) {
    fs::rename(path, path.string() + ".real");
}

/// Nothing of what is no file.
std::string ContentOf(const fs::path& path) {
    return fs::is_regular_file(path) ? profiletest::File(path).GetContent() : "";
}

TEST_F(Sealing, KeyFilesThatCannotBeTrustedAreRefusedAndLeftAlone) {
    constexpr char links[] = "Too many levels of symbolic links";
    const struct {
        const char* expected;
        std::function<void(const fs::path& key)> spoil;
    } cases[] = {
        {"others have access", [](const fs::path& key) { fs::permissions(key, fs::perms(0644)); }},
        {"others have access", [](const fs::path& key) { fs::permissions(key, fs::perms(0602)); }},
        {"is damaged", [](const fs::path& key) { fs::resize_file(key, 39); }},
        {"is damaged", [](const fs::path& key) { fs::resize_file(key, 0); }},
        {"is damaged", [](const fs::path& key) { fs::resize_file(key, 41); }},
        {"is damaged", [](const fs::path& key) { std::fstream(key) << 'X'; }},
        {links, [](const fs::path& key) { MoveAway(key), fs::create_symlink("seal.key.real", key); }},
        {links, [](const fs::path& key) { MoveAway(key), fs::create_symlink("nowhere", key); }},
        {"is not a regular file", [](const fs::path& key) { MoveAway(key), mkfifo(key.c_str(), 0600); }},
        {"is not a regular file", [](const fs::path& key) { MoveAway(key), fs::create_directory(key); }},
        {"Not a directory",
         [](const fs::path& key) {
             MoveAway(key.parent_path()), fs::create_directory_symlink("nvutil.real", key.parent_path());
         }},
        {"others can write",
         [](const fs::path& key) { fs::permissions(key.parent_path(), fs::perms(0770)); }},
    };
    for (int i = 0; const auto& [expected, spoil] : cases) {
        const std::string home = "data" + std::to_string(++i);
        UseDataHome(home);
        const ByteBuffer sealed = DataEncrypter::EncryptBytes(secret);
        spoil(KeyFile());
        const std::string before = ContentOf(KeyFile());
        const std::string refusal = SealingRefusal();
        EXPECT_NE(refusal.find(expected), std::string::npos) << expected << ", not " << refusal;
        EXPECT_NE(refusal.find(In(home + "/nvutil")), std::string::npos) << refusal;
        EXPECT_THROW(DataEncrypter::DecryptBytes(sealed), ExceptionDataEncrypterFailure) << expected;
        EXPECT_EQ(ContentOf(KeyFile()), before) << expected;
    }
}

TEST_F(Sealing, ProcessesThatStartAtOnceAgreeOnOneKey) {
    constexpr std::size_t processes = 8;
    for (int round = 0; round < 25; ++round) {
        UseDataHome("round" + std::to_string(round));
        std::vector<pid_t> children;
        while (children.size() < processes) {
            const std::string name = In("sealed" + std::to_string(children.size()));
            children.push_back(StartChild([&name] { WriteFile(name, DataEncrypter::EncryptBytes(secret)); }));
        }
        for (const pid_t child : children)
            ASSERT_TRUE(Succeeded(child));
        for (std::size_t i = 0; i < processes; ++i) {
            const std::string sealed = ContentOf(In("sealed" + std::to_string(i)));
            ASSERT_EQ(DataEncrypter::DecryptBytes({sealed.begin(), sealed.end()}), secret) << round;
        }
    }
}

}  // namespace
