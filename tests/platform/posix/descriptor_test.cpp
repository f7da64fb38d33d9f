// Whole reads and writes: through signals, up to the end, and into nothing.
#include "platform/posix/descriptor.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace {

using platform::Descriptor;
using platform::ReadInto;
using platform::WriteAll;

/// Runs a transfer that waits for the other end of a pipe, which `finish` moves on after many signals.
void Interrupt(const std::function<void()>& transfer, const std::function<void()>& finish) {
    struct sigaction ignoring {};
    struct sigaction former {};
    ignoring.sa_handler = [](int) {};  // and no SA_RESTART
    ASSERT_EQ(sigaction(SIGUSR1, &ignoring, &former), 0);
    std::thread waiting(transfer);
    for (int i = 0; i < 50; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        pthread_kill(waiting.native_handle(), SIGUSR1);
    }
    finish();
    waiting.join();
    sigaction(SIGUSR1, &former, nullptr);
}

class Transfers : public testing::Test {
protected:
    void SetUp() override {
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe(ends.data()), 0);
        m_out.emplace(ends[0]);
        m_in.emplace(ends[1]);
    }

    std::optional<Descriptor> m_out;
    std::optional<Descriptor> m_in;
};

TEST_F(Transfers, GoOnAfterSignals) {
    std::string read = ".......";
    Interrupt([&] { EXPECT_EQ(ReadInto(m_out->Get(), read.data(), 6), 6); },
              [&] { EXPECT_TRUE(WriteAll(m_in->Get(), "abcdef", 6)); });
    EXPECT_EQ(read, "abcdef.");
    const std::string all(1 << 20, 'x');  // more than a pipe takes at once
    read.assign(all.size(), '\0');
    Interrupt(
        [&] {
            EXPECT_TRUE(WriteAll(m_in->Get(), all.data(), all.size()));
            m_in.reset();
        },
        [&] { EXPECT_EQ(ReadInto(m_out->Get(), read.data(), read.size()), 1 << 20); });
    EXPECT_TRUE(read == all);
}

TEST_F(Transfers, EndWithTheFileOrTellWhyTheyFail) {
    std::string read = "......";
    ASSERT_TRUE(WriteAll(m_in->Get(), "abc", 3));
    m_in.reset();
    EXPECT_EQ(ReadInto(m_out->Get(), read.data(), read.size()), 3);
    EXPECT_EQ(read, "abc...");
    const int closed = m_out->Get();
    m_out.reset();
    EXPECT_EQ(ReadInto(closed, read.data(), read.size()), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_FALSE(WriteAll(closed, "abc", 3));
}

}  // namespace
