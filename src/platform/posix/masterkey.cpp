// The user's master key, from which the keys of sealed data are derived.
#include "platform/posix/masterkey.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string>
#include <system_error>

#include "platform/fork.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/environment.h"

namespace platform {

namespace {

constexpr const char* keyName = "seal.key";
constexpr std::array<BYTE, 8> signature = {'N', 'V', 'U', 'T', 'K', 'E', 'Y', '1'};
constexpr std::size_t keyFileSize = signature.size() + masterKeySize;
constexpr mode_t folderMode = 0700;
constexpr mode_t fileMode = 0600;
constexpr mode_t othersMayWrite = 0022;
constexpr mode_t othersMayAnything = 0077;

[[noreturn]] void Fail(const std::string& path, const std::string& reason) {
    throw ProtectionFailure(path + ": " + reason);
}

[[noreturn]] void FailWithErrno(const std::string& path) {
    Fail(path, std::system_category().message(errno));
}

/// The value of a variable that names a folder; empty unless it is an absolute path.
std::string FolderVariable(const char* name) {
    const char* const value = TrustedVariable(name);
    return value != nullptr && value[0] == '/' ? value : "";
}

/// Where the key lies.
struct KeyPlace {
    std::string folder;
    std::size_t givenLength;  ///< Of the part of the path that is not made when it is missing.
};

KeyPlace FindKeyPlace() {
    if (const std::string data = FolderVariable("XDG_DATA_HOME"); !data.empty()) return {data + "/nvutil", 0};
    const std::string home = FolderVariable("HOME");
    if (home.empty()) throw ProtectionFailure("neither XDG_DATA_HOME nor HOME names a folder for the key");
    return {home + "/.local/share/nvutil", home.size()};
}

/// Makes the folder and those above it. What fails shows when the folder is opened.
void MakeFolders(const KeyPlace& place) {
    const std::string& path = place.folder;
    for (std::size_t end = path.find('/', place.givenLength + 1); end != std::string::npos;
         end = path.find('/', end + 1)) {
        mkdir(path.substr(0, end).c_str(), folderMode);
    }
    mkdir(path.c_str(), folderMode);
}

/// The folder of the key, open, and known to be the user's own.
class KeyFolder {
public:
    explicit KeyFolder(const std::string& path)
        : m_path(path), m_descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)) {
        struct stat status {};
        if (!m_descriptor.IsOpen() || fstat(m_descriptor.Get(), &status) != 0) FailWithErrno(m_path);
        if (status.st_uid != geteuid()) Fail(m_path, "belongs to another user");
        if ((status.st_mode & othersMayWrite) != 0) Fail(m_path, "others can write to it");
        const bool isOpen = (status.st_mode & othersMayAnything) != 0;  // to their eyes, as others made it
        if (isOpen && fchmod(m_descriptor.Get(), folderMode) != 0) FailWithErrno(m_path);
    }

    int Get() const { return m_descriptor.Get(); }
    std::string PathOf(const std::string& name) const { return m_path + '/' + name; }

private:
    std::string m_path;
    Descriptor m_descriptor;
};

void CheckKeyFile(const Descriptor& file, const std::string& path) {
    struct stat status {};
    if (fstat(file.Get(), &status) != 0) FailWithErrno(path);
    if (!S_ISREG(status.st_mode)) Fail(path, "is not a regular file");
    if (status.st_uid != geteuid()) Fail(path, "belongs to another user");
    if ((status.st_mode & othersMayAnything) != 0) Fail(path, "others have access to it");
    if (status.st_size != off_t{keyFileSize}) Fail(path, "is damaged");
}

/// Reads the key file; nothing when there is none.
std::optional<SecretBytes> ReadKeyFile(const KeyFolder& folder) {
    const std::string path = folder.PathOf(keyName);
    // A link is refused, and a pipe must not keep the process waiting.
    const Descriptor file(openat(folder.Get(), keyName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.IsOpen() && errno == ENOENT) return std::nullopt;
    if (!file.IsOpen()) FailWithErrno(path);
    CheckKeyFile(file, path);
    SecretBytes content(keyFileSize);
    const ssize_t size = ReadInto(file.Get(), content.Get().data(), keyFileSize);
    if (size < 0) FailWithErrno(path);
    if (size < ssize_t{keyFileSize}) Fail(path, "is damaged");
    const auto stored = content.Get().first(signature.size());
    if (!std::ranges::equal(stored, signature)) Fail(path, "is damaged");
    SecretBytes key(masterKeySize);
    std::ranges::copy(content.Get().subspan(signature.size()), key.Get().begin());
    return key;
}

/// A file of a random name that is removed at the end, whatever other names it was given.
class TemporaryFile {
public:
    explicit TemporaryFile(const KeyFolder& folder)
        : m_folder(folder),
          m_name(RandomName()),
          m_file(openat(folder.Get(), m_name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, fileMode)) {
        if (!m_file.IsOpen() || fchmod(m_file.Get(), fileMode) != 0) FailWithErrno(GetPath());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { unlinkat(m_folder.Get(), m_name.c_str(), 0); }

    int Get() const { return m_file.Get(); }
    std::string GetPath() const { return m_folder.PathOf(m_name); }

    /// Gives the file another name unless that is taken.
    void Publish(const char* name) const {
        const int status = linkat(m_folder.Get(), m_name.c_str(), m_folder.Get(), name, 0);
        if (status != 0 && errno != EEXIST) FailWithErrno(m_folder.PathOf(name));
    }

private:
    static std::string RandomName() {
        return std::string(keyName) + '.' + std::to_string(randombytes_random()) +
               std::to_string(randombytes_random()) + ".tmp";
    }

    const KeyFolder& m_folder;
    std::string m_name;
    Descriptor m_file;
};

/// Makes a key unless another process comes first. It is on the disk before anything is sealed with it.
void CreateKeyFile(const KeyFolder& folder) {
    SecretBytes content(keyFileSize);
    std::ranges::copy(signature, content.Get().begin());
    randombytes_buf(content.Get().subspan(signature.size()).data(), masterKeySize);
    const TemporaryFile file(folder);
    if (!WriteAll(file.Get(), content.Get().data(), keyFileSize) || fsync(file.Get()) != 0)
        FailWithErrno(file.GetPath());
    file.Publish(keyName);
    if (fsync(folder.Get()) != 0) FailWithErrno(folder.PathOf(keyName));
}

// Once: each start takes a lock of the library's, which a child of fork could find taken.
bool IsEncryptionStarted() {
    static const bool isStarted = sodium_init() >= 0;
    return isStarted;
}

[[maybe_unused]] const bool isMadeBeforeForks = MakeBeforeForks([] { IsEncryptionStarted(); });

}  // namespace

SecretBytes ReadMasterKey(bool mayCreate) {
    if (!IsEncryptionStarted()) throw ProtectionFailure("the encryption library does not start");
    const KeyPlace place = FindKeyPlace();
    if (mayCreate) MakeFolders(place);
    const KeyFolder folder(place.folder);
    std::optional<SecretBytes> key = ReadKeyFile(folder);
    if (!key && mayCreate) {
        CreateKeyFile(folder);
        key = ReadKeyFile(folder);
    }
    if (!key) Fail(folder.PathOf(keyName), "there is no key");
    return std::move(*key);
}

}  // namespace platform
