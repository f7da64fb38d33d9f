// The local allocator.
#include "platform/localmemory.h"

#include <windows.h>

namespace platform {

void* AllocateLocal(std::size_t size) {
    return LocalAlloc(LPTR, size);
}

void FreeLocal(void* memory) {
    LocalFree(memory);
}

}  // namespace platform
