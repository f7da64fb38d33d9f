// Thread-local slots over POSIX thread-specific data.
#include "platform/threadslot.h"

#include <pthread.h>

namespace platform {

ThreadSlot AllocateThreadSlot(void (*atThreadExit)(void* pointer)) {
    pthread_key_t key = 0;
    return pthread_key_create(&key, atThreadExit) == 0 ? static_cast<ThreadSlot>(key) : invalidThreadSlot;
}

void FreeThreadSlot(ThreadSlot slot) {
    pthread_key_delete(slot);
}

void* GetThreadSlot(ThreadSlot slot) {
    return pthread_getspecific(slot);
}

bool SetThreadSlot(ThreadSlot slot, void* pointer) {
    return pthread_setspecific(slot, pointer) == 0;
}

}  // namespace platform
