// Any bytes as sealed data, and sealed data with any one bit changed: nothing comes out but what was sealed.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "expect.h"
#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/dataencrypter.h"

namespace {

/// A data folder of its own for the key, removed at the end.
class PrivateHome {
public:
    PrivateHome() : m_folder((std::filesystem::temp_directory_path() / "nvutil_fuzz_XXXXXX").string()) {
        FUZZ_EXPECT(mkdtemp(m_folder.data()) != nullptr);
        setenv("XDG_DATA_HOME", m_folder.c_str(), 1);
        DataEncrypter::EncryptBytes(ByteBuffer());  // makes the key
    }
    PrivateHome(const PrivateHome&) = delete;
    PrivateHome& operator=(const PrivateHome&) = delete;
    ~PrivateHome() { std::filesystem::remove_all(m_folder); }

private:
    std::string m_folder;
};

bool IsRefused(const ByteBuffer& sealed) {
    try {
        DataEncrypter::DecryptBytes(sealed);
        return false;
    } catch (const ExceptionDataEncrypterFailure&) {
        return true;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const PrivateHome home;
    const ByteBuffer input(data, static_cast<DWORD>(size));
    FUZZ_EXPECT(IsRefused(input));
    ByteBuffer sealed = DataEncrypter::EncryptBytes(input);
    FUZZ_EXPECT(DataEncrypter::DecryptBytes(sealed) == input);
    const std::size_t bit = size < 2 ? size : (data[0] | std::size_t{data[1]} << 8) % (sealed.size() * 8);
    sealed[bit / 8] ^= static_cast<BYTE>(1 << bit % 8);
    FUZZ_EXPECT(IsRefused(sealed));
    return 0;
}
