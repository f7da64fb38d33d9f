// A child of fork uses the library, whatever its parent's threads were doing.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/work.h"

namespace {

TEST(Fork, ChildOfAProcessWithBusyThreadsUsesTheLibrary) {
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&isOver] {
            while (!isOver)
                Work();
        });
    }
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
