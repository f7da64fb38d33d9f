// Tests of sealing off Windows: the layout of sealed data, the key file, and what must not be trusted.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/throws.h"
#include "utilities/utilitiesdll/dataencrypter.h"

namespace {

namespace fs = std::filesystem;

/// A home folder of its own for a test. Nothing of it exists beyond the folder itself.
class Sealing : public testing::Test {
protected:
    Sealing() : m_home((fs::temp_directory_path() / "nvutil_seal_XXXXXX").string()) {
        if (mkdtemp(m_home.data()) == nullptr) throw std::runtime_error("no folder");
        m_dataHome = std::getenv("XDG_DATA_HOME");
        UseDataHome("data");
    }
    ~Sealing() override {
        fs::permissions(m_home, fs::perms::owner_all);
        fs::remove_all(m_home);
        setenv("XDG_DATA_HOME", m_dataHome.c_str(), 1);
    }

    std::string In(const std::string& name) const { return m_home + '/' + name; }
    std::string KeyFile() const { return std::string(std::getenv("XDG_DATA_HOME")) + "/nvutil/seal.key"; }
    void UseDataHome(const std::string& name) const { setenv("XDG_DATA_HOME", In(name).c_str(), 1); }

    std::string m_home;
    std::string m_dataHome;
};

std::string ReadFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

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

TEST_F(Sealing, SealedDataHasTheDocumentedLayout) {
    const ByteBuffer sealed = DataEncrypter::EncryptBytes(secret);
    EXPECT_EQ(sealed.size(), 14u + 24 + secret.size() + 16);
    EXPECT_EQ(Hex(ByteBuffer(sealed.data(), 14)), "4E 56 53 44 01 00 03 00 4E 00 56 00 55 00");
}

TEST_F(Sealing, EveryChangedOrAddedByteIsRefused) {
    const ByteBuffer sealed = DataEncrypter::EncryptBytes(secret);
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
    UseDataHome("data");
    EXPECT_EQ(DataEncrypter::DecryptBytes(sealed), secret);
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

TEST_F(Sealing, KeyFilesThatCannotBeTrustedAreRefusedAndLeftAlone) {
    const struct {
        const char* expected;
        std::function<void(const std::string& key)> spoil;
    } cases[] = {
        {"others have access", [](const auto& key) { fs::permissions(key, fs::perms(0644)); }},
        {"others have access", [](const auto& key) { fs::permissions(key, fs::perms(0602)); }},
        {"is damaged", [](const auto& key) { fs::resize_file(key, 39); }},
        {"is damaged", [](const auto& key) { fs::resize_file(key, 0); }},
        {"is damaged", [](const auto& key) { fs::resize_file(key, 41); }},
        {"is damaged", [](const auto& key) { std::fstream(key) << 'X'; }},
        {"Too many levels of symbolic links",
         [](const auto& key) {
             fs::rename(key, key + ".real");
             fs::create_symlink("seal.key.real", key);
         }},
        {"Too many levels of symbolic links",
         [](const auto& key) {
             fs::remove(key);
             fs::create_symlink("nowhere", key);
         }},
        {"is not a regular file",
         [](const auto& key) {
             fs::remove(key);
             mkfifo(key.c_str(), 0600);
         }},
        {"is not a regular file",
         [](const auto& key) {
             fs::remove(key);
             fs::create_directory(key);
         }},
        {"others can write",
         [](const auto& key) { fs::permissions(fs::path(key).parent_path(), fs::perms(0770)); }},
    };
    for (int i = 0; const auto& c : cases) {
        UseDataHome("data" + std::to_string(++i));
        const ByteBuffer sealed = DataEncrypter::EncryptBytes(secret);
        c.spoil(KeyFile());
        const auto before = fs::is_regular_file(KeyFile()) ? ReadFile(KeyFile()) : "";
        const std::string refusal = SealingRefusal();
        EXPECT_NE(refusal.find(c.expected), std::string::npos) << c.expected << ", not " << refusal;
        EXPECT_NE(refusal.find(In("data" + std::to_string(i) + "/nvutil")), std::string::npos) << refusal;
        EXPECT_THROW(DataEncrypter::DecryptBytes(sealed), ExceptionDataEncrypterFailure) << c.expected;
        EXPECT_EQ(fs::is_regular_file(KeyFile()) ? ReadFile(KeyFile()) : "", before) << c.expected;
    }
}

TEST_F(Sealing, ProcessesThatStartAtOnceAgreeOnOneKey) {
    constexpr int processes = 8;
    constexpr int rounds = 25;
    for (int round = 0; round < rounds; ++round) {
        UseDataHome("round" + std::to_string(round));
        std::vector<pid_t> children;
        for (int i = 0; i < processes; ++i) {
            const pid_t child = fork();
            ASSERT_GE(child, 0);
            if (child == 0) {
                const ByteBuffer sealed = DataEncrypter::EncryptBytes(secret);
                std::ofstream out(In("sealed" + std::to_string(i)), std::ios::binary);
                out.write(reinterpret_cast<const char*>(sealed.data()), std::streamsize(sealed.size()));
                out.close();
                _exit(0);
            }
            children.push_back(child);
        }
        for (const pid_t child : children) {
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            ASSERT_EQ(status, 0);
        }
        for (int i = 0; i < processes; ++i) {
            const std::string sealed = ReadFile(In("sealed" + std::to_string(i)));
            ASSERT_EQ(DataEncrypter::DecryptBytes({sealed.begin(), sealed.end()}), secret)
                << "round " << round;
        }
    }
}

}  // namespace
