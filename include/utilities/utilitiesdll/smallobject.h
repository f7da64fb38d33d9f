// SmallObject: memory for the many small objects that attribute lists are made of.
#pragma once

#include <cstddef>

#include "platform/types.h"

namespace nvutil {

/// Hands out blocks for objects that come and go by the hundred.
///
/// A thread that has a per-thread storage keeps a bounded number of freed blocks for its next objects, up to
/// about 160 KB. Other threads, and objects of more than 64 bytes, use the heap directly. Every block comes
/// from the heap, so any thread may free it. Under AddressSanitizer nothing is kept, so that every use of a
/// freed block is seen.
class NVUTIL_API SmallObjectMemory {
public:
    /// @throws std::bad_alloc
    static void* Allocate(std::size_t size);
    /// @param size  what the block was allocated with
    static void Free(void* block, std::size_t size) noexcept;

    /// Lets the calling thread keep freed blocks. Without memory for that it goes on without.
    static void StartKeeping() noexcept;
    /// Gives back what the calling thread has kept, and keeps no more.
    static void StopKeeping() noexcept;
};

/// A base without data for classes whose objects are small and many.
struct SmallObject {
    static void* operator new(std::size_t size) { return SmallObjectMemory::Allocate(size); }
    static void operator delete(void* block, std::size_t size) noexcept {
        SmallObjectMemory::Free(block, size);
    }
};

/// The same for the nodes of standard containers.
template <class T>
struct SmallObjectAllocator {
    using value_type = T;

    SmallObjectAllocator() = default;
    template <class Other>
    SmallObjectAllocator(const SmallObjectAllocator<Other>&) noexcept {}

    T* allocate(std::size_t count) { return static_cast<T*>(SmallObjectMemory::Allocate(count * sizeof(T))); }
    void deallocate(T* block, std::size_t count) noexcept {
        SmallObjectMemory::Free(block, count * sizeof(T));
    }

    bool operator==(const SmallObjectAllocator&) const = default;
};

}  // namespace nvutil
