// The local allocator over the C library's.
#include "platform/localmemory.h"

#include <cstdlib>

namespace platform {

void* AllocateLocal(std::size_t size) {
    return std::calloc(1, size);
}

void FreeLocal(void* memory) {
    std::free(memory);
}

}  // namespace platform
