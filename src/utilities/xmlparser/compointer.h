// ComPointer: holds one reference to a COM object.
#pragma once

#include <utility>

/// A counted reference, or none. The type may be incomplete where the pointer is only declared.
template <class Interface>
class ComPointer {
public:
    ComPointer() = default;
    ComPointer(const ComPointer& other) : m_object(other.m_object) {
        if (m_object != nullptr) m_object->AddRef();
    }
    ComPointer(ComPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    ComPointer& operator=(ComPointer other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~ComPointer() {
        if (m_object != nullptr) m_object->Release();
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
