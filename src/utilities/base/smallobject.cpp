// SmallObject: memory for the many small objects that attribute lists are made of.
#include "utilities/utilitiesdll/smallobject.h"

#include <new>

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool keepsBlocks = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool keepsBlocks = false;
#else
constexpr bool keepsBlocks = true;
#endif
#else
constexpr bool keepsBlocks = true;
#endif

constexpr std::size_t step = 16;     // bytes between the sizes of blocks
constexpr std::size_t sizes = 4;     // 16, 32, 48 and 64 bytes
constexpr unsigned mostKept = 1024;  // blocks of each size

struct FreeBlock {
    FreeBlock* next;
};

struct KeptBlocks {
    FreeBlock* first = nullptr;
    unsigned count = 0;
};

struct ThreadBlocks {
    KeptBlocks bySize[sizes];
};

// A plain pointer, so that it can be read at any moment of a thread's life; null for a thread that keeps
// nothing.
constinit thread_local ThreadBlocks* threadBlocks = nullptr;

std::size_t IndexOf(std::size_t size) {
    return (size - 1) / step;
}

}  // namespace

void* nvutil::SmallObjectMemory::Allocate(std::size_t size) {
    const std::size_t index = IndexOf(size);
    if (index >= sizes) return ::operator new(size);
    if (ThreadBlocks* blocks = threadBlocks) {
        KeptBlocks& kept = blocks->bySize[index];
        if (FreeBlock* block = kept.first) {
            kept.first = block->next;
            --kept.count;
            return block;
        }
    }
    return ::operator new((index + 1) * step);
}

void nvutil::SmallObjectMemory::Free(void* block, std::size_t size) noexcept {
    const std::size_t index = IndexOf(size);
    ThreadBlocks* blocks = threadBlocks;
    if (block != nullptr && blocks != nullptr && index < sizes) {
        KeptBlocks& kept = blocks->bySize[index];
        if (kept.count < mostKept) {
            kept.first = new (block) FreeBlock{kept.first};
            ++kept.count;
            return;
        }
    }
    ::operator delete(block);
}

void nvutil::SmallObjectMemory::StartKeeping() noexcept {
    if (keepsBlocks && threadBlocks == nullptr) threadBlocks = new (std::nothrow) ThreadBlocks;
}

void nvutil::SmallObjectMemory::StopKeeping() noexcept {
    ThreadBlocks* blocks = threadBlocks;
    if (blocks == nullptr) return;
    threadBlocks = nullptr;
    for (const KeptBlocks& kept : blocks->bySize) {
        for (FreeBlock* block = kept.first; block != nullptr;) {
            FreeBlock* next = block->next;
            ::operator delete(block);
            block = next;
        }
    }
    delete blocks;
}
