// The handlers of all parts, called in the order of their locks.
#include "platform/fork.h"

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstdlib>

namespace platform {

namespace {

using AllHandlers = std::array<const ForkHandlers*, forkedPartCount>;

constinit std::array<std::atomic<const ForkHandlers*>, forkedPartCount> registered{};
// Those that were prepared, while the process forks; used by the forking thread alone.
constinit AllHandlers prepared{};

// What is made before forks; written while the library is loaded.
constinit std::array<void (*)(), 16> firstUses{};
constinit std::size_t firstUseCount = 0;

void Prepare() {
    for (std::size_t i = 0; i < firstUseCount; ++i)
        firstUses[i]();
    for (std::size_t i = 0; i < prepared.size(); ++i) {
        prepared[i] = registered[i];
        if (prepared[i] != nullptr) prepared[i]->prepare();
    }
}

void GoOn(void (*ForkHandlers::*goOn)()) {
    for (const ForkHandlers*& handlers : prepared) {
        if (handlers != nullptr) (handlers->*goOn)();
        handlers = nullptr;
    }
}

void HearOfForks() {
    [[maybe_unused]] static const int isRegistered = pthread_atfork(
        &Prepare, [] { GoOn(&ForkHandlers::goOnInParent); }, [] { GoOn(&ForkHandlers::goOnInChild); });
}

}  // namespace

bool MakeBeforeForks(void (*make)()) {
    HearOfForks();
    if (firstUseCount == firstUses.size()) std::abort();  // a row for each must be there
    firstUses[firstUseCount++] = make;
    return true;
}

void TakePartInForks(ForkedPart part, const ForkHandlers& handlers) {
    HearOfForks();
    registered[static_cast<std::size_t>(part)] = &handlers;
}

}  // namespace platform
