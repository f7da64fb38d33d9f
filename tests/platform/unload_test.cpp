// The library is loaded and unloaded again and again, while threads that have entered it go on and end.
#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>
#include <vector>

#include "support/platform/loadedlibrary.h"

namespace {

// Enters the library: makes the calling thread's storage.
using PrepareFunction = void (*)();
constexpr const char* prepareName = "_ZN28UtilitiesDllPerThreadStorage7PrepareEv";

TEST(Unloading, LeavesThreadsThatHaveUsedTheLibraryAlone) {
    for (int round = 0; round < 1000; ++round) {
        std::vector<std::thread> threads;
        std::promise<void> unloaded;
        const std::shared_future<void> isUnloaded = unloaded.get_future().share();
        {
            const LoadedLibrary library(NVUTIL_LIBRARY);
            const auto prepare = reinterpret_cast<PrepareFunction>(library.Find(prepareName));
            ASSERT_NE(prepare, nullptr) << "round " << round;
            prepare();
            std::thread(prepare).join();  // ends before
            std::promise<void> used;
            threads.emplace_back([&] {
                prepare();
                used.set_value();
                isUnloaded.wait();
            });
            used.get_future().wait();
        }
        EXPECT_EQ(LoadedLibrary::IsInProcess(NVUTIL_LIBRARY), NVUTIL_STAYS_LOADED) << "round " << round;
        unloaded.set_value();
        threads.front().join();
    }
}

}  // namespace
