// Tells work that grows with its input from work that grows with the square of it.
#pragma once

#include <chrono>

/// Whether eight times the work takes less than 24 times as long, which work of a square never does: it takes
/// 64 times as long. What else the machine does can make one round look so, but not each of several.
/// @param work  is given a size and does the work once
template <class Work>
bool GrowsLinearly(int size, Work work) {
    constexpr int rounds = 8;
    const auto timeOf = [&work](int times) {
        const auto begin = std::chrono::steady_clock::now();
        work(times);
        return std::chrono::steady_clock::now() - begin;
    };
    for (int round = 0; round < rounds; ++round) {
        if (timeOf(8 * size) < 24 * timeOf(size)) return true;
    }
    return false;
}
