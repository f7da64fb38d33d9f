// SharedPtr: a reference-counted pointer that compares the objects it points to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "utilities/utilitiesdll/smallobject.h"

/// The comparison of the library's own classes: the first object's `IsEqual` and `LessThan` where it has
/// them, else its operators. Two null pointers are equal; a null pointer is less than any object.
template <class T>
struct SharedPtrCompare {
    static bool IsEqual(const T* left, const T* right) {
        if (left == nullptr || right == nullptr) return left == right;
        if constexpr (requires { left->IsEqual(*right); }) {
            return left->IsEqual(*right);
        } else {
            return *left == *right;
        }
    }

    static bool LessThan(const T* left, const T* right) {
        if (left == nullptr || right == nullptr) return left == nullptr && right != nullptr;
        if constexpr (requires { left->LessThan(*right); }) {
            return left->LessThan(*right);
        } else {
            return *left < *right;
        }
    }
};

/// Shares one object between any number of pointers and destroys it with the last of them.
///
/// The count is a plain integer: a pointer and all its copies belong to one thread at a time. Every pointer
/// has a record, also when it holds no object.
///
/// @tparam Compare  static tests `IsEqual` and `LessThan` of two `const T*`
template <class T, class Compare = SharedPtrCompare<T>>
class SharedPtr {
public:
    /// What all pointers to one object share.
    struct SharedPtrInfoStruct {
        T* object;
        std::uint32_t count;  ///< Pointers that share this record.
        bool owned;           ///< Whether the last of them destroys the object.

        static void* operator new(std::size_t size) { return nvutil::SmallObjectMemory::Allocate(size); }
        static void operator delete(void* block, std::size_t size) noexcept {
            nvutil::SmallObjectMemory::Free(block, size);
        }
    };

    /// Begins to share an object.
    /// @param object  may be null; destroyed with the last pointer when `owned`
    explicit SharedPtr(T* object = nullptr, bool owned = true) : m_info(MakeInfo(object, owned)) {}
    explicit SharedPtr(std::nullptr_t, bool owned = true) : SharedPtr(static_cast<T*>(nullptr), owned) {}
    SharedPtr(const SharedPtr& other) noexcept : m_info(other.m_info) { ++m_info->count; }
    ~SharedPtr() { Unshare(); }

    SharedPtr& operator=(const SharedPtr& other) {
        if (this != &other) {
            ++other.m_info->count;  // first, since this pointer's object may own the other pointer
            SharedPtrInfoStruct* info = other.m_info;
            Unshare();
            m_info = info;
        }
        return *this;
    }

    /// Shares another object instead; does nothing when it is the object already held.
    void Reset(T* object, bool owned) {
        if (object == Get()) return;
        SharedPtrInfoStruct* info = MakeInfo(object, owned);
        Unshare();
        m_info = info;
    }

    /// Hands the object to the caller: no pointer that shares it will destroy it.
    T* ReleaseOwnership() {
        m_info->owned = false;
        return m_info->object;
    }

    T* operator->() const { return m_info->object; }
    T& operator*() const { return *m_info->object; }
    /// The object; null when there is none.
    T* Get() const { return m_info->object; }

    bool operator==(const SharedPtr& other) const { return Compare::IsEqual(Get(), other.Get()); }
    bool operator<(const SharedPtr& other) const { return Compare::LessThan(Get(), other.Get()); }

private:
    friend struct SharedPtrTestAccess;

    // A record made here starts at a count of 2 and so outlives its only holder. That is deliberate: holders
    // of such a pointer rely on its record never being freed.
    explicit SharedPtr(SharedPtrInfoStruct* info)
        : m_info(info != nullptr ? info : new SharedPtrInfoStruct{nullptr, 1, true}) {
        ++m_info->count;
    }

    /// A record with a count of 1; an owned object does not outlive the failure to make one.
    static SharedPtrInfoStruct* MakeInfo(T* object, bool owned) {
        try {
            return new SharedPtrInfoStruct{object, 1, owned};
        } catch (...) {
            if (owned) delete object;
            throw;
        }
    }

    void Unshare() {
        SharedPtrInfoStruct* info = std::exchange(m_info, nullptr);
        if (--info->count == 0) Destroy(info);
    }

    static void Destroy(SharedPtrInfoStruct* info) {
        if (info->owned) delete info->object;
        delete info;
    }

    SharedPtrInfoStruct* m_info;
};
