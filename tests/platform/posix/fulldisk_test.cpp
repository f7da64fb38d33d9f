// A cabinet that does not fit on the disk, for which a limit on the size of files stands here.
#include <sys/resource.h>

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <iterator>

#include "../cabinettools.h"
#include "../profilefiles.h"
#include "utilities/compression/cabinetunpacker.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace {

namespace fs = std::filesystem;

/// Lets no file grow beyond a size; others that are open, such as a log, had better not grow meanwhile.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t size) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{size, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    void (*m_handler)(int);
    rlimit m_before{};
};

TEST(FullDisk, LeavesTheFolderOfACabinetAsItWas) {
    using namespace cabinettest;
    const profiletest::Folder folder;
    const profiletest::File existing(folder / "a", "before");
    HandMadeCabinet cabinet;
    cabinet.folders = {{platform::cabinet::tcompTYPE_NONE, {{Noise(20000), 20000}}}};
    cabinet.files = {{"a", 10, 0, 0}, {"new/b", 19990, 10, 0}};
    const Bytes bytes = cabinet.Build();
    const nvutil::CabinetUnpacker unpacker(ByteBuffer(bytes.data(), static_cast<DWORD>(bytes.size())));
    bool isRefused = false;
    {
        const FileSizeLimit limit(15000);
        try {
            unpacker.UnpackTo(folder.GetPath().string<WChar>().c_str());
        } catch (const ExceptionFileOperationCompression&) {
            isRefused = true;
        }
    }
    EXPECT_TRUE(isRefused);
    EXPECT_EQ(existing.GetContent(), "before");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.GetPath()), {}), 1);
}

}  // namespace
