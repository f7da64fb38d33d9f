// The platform's local allocator.
#pragma once

#include <cstddef>

namespace platform {

/// Allocates zero-filled memory, aligned for every fundamental type; null when there is none.
void* AllocateLocal(std::size_t size);

/// Frees what AllocateLocal returned. Null is ignored.
void FreeLocal(void* memory);

}  // namespace platform
