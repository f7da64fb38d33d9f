// A child of fork uses the library, whatever its parent's threads were doing.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "platform/work.h"

namespace {

TEST(Fork, ChildOfAProcessWithBusyThreadsUsesTheLibrary) {
    std::atomic<bool> isOver = false;
    const auto work = [&isOver] {
        while (!isOver)
            Work();
    };
    std::thread threads[] = {std::thread(work), std::thread(work), std::thread(work), std::thread(work)};
    int failures = 0;
    for (int i = 0; i < 100; ++i) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            alarm(30);  // a child that waits for ever
            Work();
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        failures += status != 0 ? 1 : 0;
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
}

}  // namespace
