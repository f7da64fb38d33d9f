// ComPointer: holds one reference to a COM object.
#pragma once

#include <utility>

#include "platform/types.h"

namespace nvutil {

/// Counts a reference to any COM object: each begins with the same three functions.
NVUTIL_API void AddComReference(void* object);
NVUTIL_API void ReleaseComReference(void* object);

/// A counted reference, or none. The interface may be incomplete, so that headers need not include the
/// platform's.
template <class Interface>
class ComPointer {
public:
    ComPointer() = default;
    ComPointer(const ComPointer& other) : m_object(other.m_object) {
        if (m_object != nullptr) AddComReference(m_object);
    }
    ComPointer(ComPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    ComPointer& operator=(ComPointer other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~ComPointer() {
        if (m_object != nullptr) ReleaseComReference(m_object);
    }

    Interface* Get() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }
    Interface* operator->() const { return m_object; }
    /// Where a call puts the reference that it hands over; what was held before is released.
    Interface** Receive() {
        *this = ComPointer();
        return &m_object;
    }

private:
    Interface* m_object = nullptr;
};

}  // namespace nvutil
