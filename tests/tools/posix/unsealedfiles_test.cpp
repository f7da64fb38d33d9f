// Who can open the files that `nvutil unseal` writes.
#include <gtest/gtest.h>

#include "platform/profilefiles.h"
#include "support/platform/posix/process.h"
#include "tools/toolruns.h"

namespace {

TEST(UnsealedFiles, AreForTheirUserUnlessTheyReplaceOthers) {
    const profiletest::Folder folder;
    const std::string sealed = Nvutil({"seal", "-"}, "secret").out;
    for (const unsigned mode : {0u, 0640u, 0644u}) {
        const profiletest::File file(folder / std::to_string(mode));
        if (mode != 0) {
            const profiletest::File existing(file.GetPath(), "before");
            std::filesystem::permissions(file.GetPath(), std::filesystem::perms(mode));
        }
        EXPECT_EQ(Nvutil({"unseal", "-", "-o", file.GetPath()}, sealed).error, "");
        EXPECT_EQ(file.GetContent(), "secret");
        EXPECT_EQ(ModeOf(file.GetPath()), mode != 0 ? mode : 0600u);
    }
}

}  // namespace
