// Thread-local slots.
#include "platform/threadslot.h"

#include <windows.h>

namespace platform {

static_assert(invalidThreadSlot == TLS_OUT_OF_INDEXES);

ThreadSlot AllocateThreadSlot(void (* /*atThreadExit*/)(void* pointer)) {
    return TlsAlloc();
}

void FreeThreadSlot(ThreadSlot slot) {
    TlsFree(slot);
}

void* GetThreadSlot(ThreadSlot slot) {
    // The platform resets the last error when it reads a slot; callers must not notice.
    const DWORD lastError = GetLastError();
    void* pointer = TlsGetValue(slot);
    SetLastError(lastError);
    return pointer;
}

bool SetThreadSlot(ThreadSlot slot, void* pointer) {
    return TlsSetValue(slot, pointer) != FALSE;
}

}  // namespace platform
