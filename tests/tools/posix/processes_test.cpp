// What only processes and permissions show: savers of settings that are killed at any moment or are eight at
// the same time, and who can open the files that `nvutil unseal` writes.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "nvutil/text.h"
#include "platform/profilefiles.h"
#include "support/platform/posix/process.h"
#include "support/platform/testprinter.h"
#include "tools/tooltest.h"

namespace {

/// A state of several pages of the store, which no compression makes smaller.
std::string StateWithBlob(const std::string& version, unsigned seed) {
    std::mt19937 random(seed);
    std::string blob;
    while (blob.size() < 40'000)
        blob += HexNumber(random() & 0xFFFFFFFF, 8);
    return Build(R"({"driverVersion": ")" + version +
                 R"(", "namespaces": {"1": [{"id": {"feature": 1}, "value": {"blob": ")" + blob +
                 R"("}}]}})");
}

TEST(SettingsFaults, LeaveTheOldStateOrTheNewOneWhole) {
    const TestPrinter printer;
    const std::string name = ToUtf8(printer.GetName());
    const std::string states[] = {StateWithBlob("1.0.0.0", 1), StateWithBlob("2.0.0.0", 2)};
    const auto import = [&](const std::string& state) {
        return Nvutil({"settings", "import", "--printer", name, "-"}, state).status == 0;
    };
    ASSERT_TRUE(import(states[0]));

    // The longest time that a save is given grows while saves are interrupted and shrinks while they succeed,
    // so that the kills stay around the moments that matter, on a slow machine too.
    double longest = 10'000;
    std::mt19937 random(std::random_device{}());
    int changes = 0;
    std::string former = states[0];
    constexpr int kills = 100;
    for (int kill = 0; kill < kills; ++kill) {
        Child saver([&] {
            for (std::size_t turn = former == states[0] ? 1 : 0;; ++turn)
                if (!import(states[turn % 2])) return false;
        });
        std::uniform_real_distribution<double> moment(0, longest);
        std::this_thread::sleep_for(std::chrono::duration<double, std::micro>(moment(random)));
        ASSERT_TRUE(saver.Kill()) << "a save failed";
        const ToolResult stored = Nvutil({"settings", "export", "--printer", name});
        ASSERT_TRUE(stored.out == states[0] || stored.out == states[1]) << "kill " << kill << stored.error;
        const bool isChanged = stored.out != former;
        longest *= isChanged ? 0.8 : 1.2;
        if (isChanged) ++changes;
        former = stored.out;
    }
    EXPECT_GT(changes, 0) << "no save came to its end";
    EXPECT_LT(changes, kills) << "no save was interrupted";
}

TEST(SettingsFaults, DoNotMakeEightProcessesLoseAnything) {
    constexpr int processes = 8;
    constexpr int steps = 5;
    const TestPrinter printer;
    const std::string name = ToUtf8(printer.GetName());
    std::vector<std::unique_ptr<Child>> savers;
    for (int process = 0; process < processes; ++process) {
        savers.push_back(std::make_unique<Child>([&, process] {
            for (int step = 0; step < steps; ++step) {
                const std::string attribute = IntegerAttribute(100 * process + step, 7);
                if (Nvutil({"settings", "set", "--printer", name, attribute}).status != 0) return false;
            }
            return true;
        }));
    }
    for (const auto& saver : savers)
        EXPECT_TRUE(saver->Succeeds());
    const std::string all = Nvutil({"settings", "get", "--printer", name}).out;
    for (int process = 0; process < processes; ++process) {
        for (int step = 0; step < steps; ++step)
            EXPECT_TRUE(Fits(all, '*' + IntegerAttribute(100 * process + step, 7))) << process << ' ' << step;
    }
}

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
