// Fuzzes the unpacking of cabinets to disk: the input is a cabinet, the output a folder in a folder of ours.
//
// Whatever the bytes: nothing appears beside the target folder, a refused cabinet leaves nothing in it, and
// one that is taken leaves exactly its files.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>

#include "expect.h"
#include "utilities/compression/cabinetunpacker.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

namespace fs = std::filesystem;

// A small input can ask for gigabytes and for a million folders.
constexpr nvutil::CabinetLimits limits{1 << 20, 1000};
constexpr std::size_t mostFiles = 100;

const fs::path& Base() {
    static const fs::path base =
        fs::temp_directory_path() / ("nvutil_fuzz_" + std::to_string(std::random_device()()));
    return base;
}

std::size_t CountFiles(const fs::path& folder) {
    std::size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        FUZZ_EXPECT(!entry.is_symlink());
        files += entry.is_regular_file() ? 1 : 0;
    }
    return files;
}

void Unpack(const nvutil::CabinetUnpacker& unpacker) {
    const fs::path target = Base() / "target";
    const CXString name = target.string<WChar>().c_str();
    fs::remove_all(Base());
    fs::create_directories(Base());
    try {
        unpacker.UnpackTo(name);
        FUZZ_EXPECT(unpacker.IsUnpackedTo(name));
        FUZZ_EXPECT(CountFiles(target) == unpacker.GetFiles().size());
    } catch (const ExceptionCompression&) {
        FUZZ_EXPECT(fs::is_empty(target));
    }
    for (const auto& entry : fs::directory_iterator(Base()))
        FUZZ_EXPECT(entry.path() == target);
    fs::remove_all(Base());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const nvutil::CabinetUnpacker unpacker(ByteBuffer(data, static_cast<DWORD>(size)), limits);
        if (unpacker.GetFiles().size() <= mostFiles) Unpack(unpacker);
    } catch (const ExceptionCompression&) {
        return 0;
    }
    return 0;
}
