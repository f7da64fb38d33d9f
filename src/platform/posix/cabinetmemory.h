// Memory from the functions that the cabinet library's caller supplies, and how failures reach that caller.
#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "platform/cabinet.h"

namespace platform::cabinet {

/// The caller's memory functions.
struct Memory {
    AllocFunction allocate;
    FreeFunction release;

    /// @throws std::bad_alloc when the caller has none left
    void* Allocate(std::size_t bytes) const {
        void* memory =
            bytes <= std::numeric_limits<DWORD>::max() ? allocate(static_cast<DWORD>(bytes)) : nullptr;
        if (memory == nullptr) throw std::bad_alloc();
        return memory;
    }
};

/// Lets the standard containers use the caller's memory.
template <class T>
class CallerAllocator {
public:
    using value_type = T;

    explicit CallerAllocator(const Memory& memory) : m_memory(memory) {}
    template <class Other>
    CallerAllocator(const CallerAllocator<Other>& other) : m_memory(other.GetMemory()) {}

    T* allocate(std::size_t count) {
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_alloc();
        return static_cast<T*>(m_memory.Allocate(count * sizeof(T)));
    }
    void deallocate(T* memory, std::size_t) { m_memory.release(memory); }

    const Memory& GetMemory() const { return m_memory; }
    bool operator==(const CallerAllocator& other) const {
        return m_memory.allocate == other.m_memory.allocate && m_memory.release == other.m_memory.release;
    }

private:
    Memory m_memory;
};

/// Scratch bytes that are not cleared and only ever grow.
class Scratch {
public:
    explicit Scratch(const Memory& memory) : m_memory(memory) {}
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch() { Release(); }

    /// Where the bytes are; null before the first Reserve.
    BYTE* Get() const { return m_bytes; }

    /// Makes room for `size` bytes; what they held before may be lost.
    BYTE* Reserve(std::size_t size) {
        if (size > m_size) {
            Release();
            m_bytes = static_cast<BYTE*>(m_memory.Allocate(size));
            m_size = size;
        }
        return m_bytes;
    }

private:
    void Release() {
        if (m_bytes != nullptr) m_memory.release(m_bytes);
        m_bytes = nullptr;
        m_size = 0;
    }

    Memory m_memory;
    BYTE* m_bytes = nullptr;
    std::size_t m_size = 0;
};

/// Makes an object in the caller's memory, to be destroyed with DestroyIn.
template <class T, class... Arguments>
T* CreateIn(const Memory& memory, Arguments&&... arguments) {
    void* place = memory.Allocate(sizeof(T));
    try {
        return ::new (place) T(std::forward<Arguments>(arguments)...);
    } catch (...) {
        memory.release(place);
        throw;
    }
}

template <class T>
void DestroyIn(const Memory& memory, T* object) {
    std::destroy_at(object);
    memory.release(object);
}

/// Ends an operation; RunReporting turns it into the caller's error record.
struct Failure {
    int operation;          ///< FCIERR_ or FDIERROR_ code.
    int callbackError = 0;  ///< Error number that the failing callback gave.
};

/// The codes for failures that no callback reports.
struct FailureCodes {
    int outOfMemory;
    int unexpected;
};

/// Runs one operation. No exception passes: a failure goes to the error record.
/// @return whether the operation succeeded
template <class Operation>
BOOL RunReporting(ERF& errors, const FailureCodes& codes, Operation&& operation) noexcept {
    const auto report = [&errors](const Failure& failure) {
        errors = ERF{failure.operation, failure.callbackError, 1};
        return 0;
    };
    try {
        operation();
        return 1;
    } catch (const Failure& failure) {
        return report(failure);
    } catch (const std::bad_alloc&) {
        return report({codes.outOfMemory});
    } catch (...) {
        return report({codes.unexpected});
    }
}

}  // namespace platform::cabinet
