// The handlers of all parts, called in the order of their locks.
#include "platform/fork.h"

#include <pthread.h>

#include <array>
#include <atomic>

namespace platform {

namespace {

using AllHandlers = std::array<const ForkHandlers*, forkedPartCount>;

constinit std::array<std::atomic<const ForkHandlers*>, forkedPartCount> registered{};
// Those that were prepared, while the process forks; used by the forking thread alone.
constinit AllHandlers prepared{};

void Prepare() {
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

}  // namespace

void TakePartInForks(ForkedPart part, const ForkHandlers& handlers) {
    [[maybe_unused]] static const int isRegistered = pthread_atfork(
        &Prepare, [] { GoOn(&ForkHandlers::goOnInParent); }, [] { GoOn(&ForkHandlers::goOnInChild); });
    registered[static_cast<std::size_t>(part)] = &handlers;
}

}  // namespace platform
