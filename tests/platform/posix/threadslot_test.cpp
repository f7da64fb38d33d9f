// A thread that there is no memory for gets the documented exception, and may try again.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "utilities/debuggingandexceptions/exceptions.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

std::atomic<int> failuresLeft = 0;

}  // namespace

// Takes the place of the system's for the library, which is linked to this program.
extern "C" int pthread_setspecific(pthread_key_t key, const void* pointer) {
    using Function = int (*)(pthread_key_t, const void*);
    static const auto systems = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_setspecific"));
    if (failuresLeft > 0) {
        --failuresLeft;
        return ENOMEM;
    }
    return systems(key, pointer);
}

namespace {

TEST(ThreadSlot, ThreadWithoutMemoryForItsStorageMayTryAgain) {
    using Storage = UtilitiesDllPerThreadStorage;
    std::thread([] {
        const std::size_t before = Storage::GetObjectCount();
        failuresLeft = 1;
        EXPECT_THROW(Storage::GetUtilitiesDllPerThreadStorageObject(), ExceptionOutOfMemory);
        EXPECT_EQ(failuresLeft, 0);
        EXPECT_EQ(Storage::GetObjectCount(), before);
        failuresLeft = 1;
        Storage::Prepare();
        EXPECT_EQ(failuresLeft, 0);
        EXPECT_EQ(Storage::GetObjectCount(), before);
        EXPECT_NO_THROW(Storage::GetExecutionContextStack());
        EXPECT_EQ(Storage::GetObjectCount(), before + 1);
    }).join();
}

}  // namespace
