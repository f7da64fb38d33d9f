// Per-thread storage: made on the first request, released with the thread or with the library.
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/narrow.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/utilitiesdll/libraryload.h"

namespace {

using Storage = UtilitiesDllPerThreadStorage;

// Tells by its destruction that the stack it was left on is gone.
class CountedContext : public ExecutionContextBase {
public:
    explicit CountedContext(const CXString& functionName)
        : ExecutionContextBase(ECIE_FUNCTION, NV_TEXT("f"), functionName, 1, false, CXString()) {
        ++alive;
    }
    ~CountedContext() override { --alive; }

    static inline std::atomic<int> alive = 0;
};

void LeaveContextOnStack() {
    Storage::GetExecutionContextStack().PushContext(
        ExecutionContextPtr(new CountedContext(NV_TEXT("Left::Behind"))));
}

std::string ContextsOfThrownException() {
    try {
        NV_THROW(ExceptionUnhandledSyntax, "F", 1);
    } catch (const NorvaException& exception) {
        return Narrow(exception.GetExecutionContextStack().GetMostRecentContextDisplayString(false));
    }
    return "nothing was thrown";
}

}  // namespace

TEST(PerThreadStorage, EndsWithItsThread) {
    Storage* const own = &Storage::GetUtilitiesDllPerThreadStorageObject();
    const std::size_t before = Storage::GetObjectCount();
    std::thread([before, own] {
        EXPECT_EQ("<No Context>", ContextsOfThrownException());
        EXPECT_EQ(before, Storage::GetObjectCount()) << "made for a thread that only throws";
        LeaveContextOnStack();
        EXPECT_NE(own, &Storage::GetUtilitiesDllPerThreadStorageObject());
        EXPECT_EQ(before + 1, Storage::GetObjectCount());
        EXPECT_EQ(1, CountedContext::alive);
    }).join();
    EXPECT_EQ(before, Storage::GetObjectCount());
    EXPECT_EQ(0, CountedContext::alive);
}

TEST(PerThreadStorage, DetachesAThreadThatGoesOn) {
    std::thread([] {
        const std::size_t before = Storage::GetObjectCount();
        Storage::CleanUpDueToThreadDetach(true);  // nothing to do yet
        LeaveContextOnStack();
        Storage::CleanUpDueToThreadDetach(false);
        EXPECT_EQ(0, CountedContext::alive);
        EXPECT_EQ(before, Storage::GetObjectCount());
        EXPECT_EQ(0u, Storage::GetExecutionContextStack().GetDepth());
    }).join();
}

TEST(PerThreadStorage, ServesManyThreadsAtOnce) {
    constexpr int threadCount = 16;
    const std::size_t before = Storage::GetObjectCount();
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([i] {
            const std::string name = "Thread::" + std::to_string(i);
            for (int round = 0; round < 50; ++round) {
                const ExecutionContextLifetime context(
                    std::make_unique<CountedContext>(CXString(name.c_str())));
                ASSERT_EQ("ECIE_FUNCTION: " + name + " line 1", ContextsOfThrownException());
                if (round % 10 == 0) std::this_thread::yield();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(before, Storage::GetObjectCount());
    EXPECT_EQ(0, CountedContext::alive);
}

TEST(PerThreadStorage, OfLiveThreadsIsDestroyedWhenTheLibraryIsUnloaded) {
    std::promise<void> ready;
    std::promise<void> unloaded;
    std::thread live([&] {
        LeaveContextOnStack();
        ready.set_value();
        unloaded.get_future().wait();
        EXPECT_EQ("<No Context>", ContextsOfThrownException());
    });
    ready.get_future().wait();
    LeaveContextOnStack();
    EXPECT_EQ(2, CountedContext::alive);

    Storage::CleanUpDueToProcessDetach();
    EXPECT_EQ(0, CountedContext::alive);
    EXPECT_EQ(0u, Storage::GetObjectCount());
    EXPECT_EQ("<No Context>", ContextsOfThrownException());
    EXPECT_THROW(Storage::GetExecutionContextStack(), ExceptionAccessPriorToInitialization);
    Storage::CleanUpDueToProcessDetach();  // a second time there is nothing to do
    Storage::CleanUpDueToThreadDetach(false);

    Storage::InitializeDueToProcessAttach();
    unloaded.set_value();
    live.join();
    EXPECT_EQ(0u, Storage::GetExecutionContextStack().GetDepth());
    EXPECT_EQ(1u, Storage::GetObjectCount());
}

TEST(LibraryLoad, IsRemembered) {
    const DWORD age = GetTickCountNow() - GetLibraryLoad().tickCount;
    EXPECT_GT(3600u * 1000u, age);
    EXPECT_NE(0u, GetLibraryLoad().tickCount);
}
