// OwnedCriticalResource: a process-wide lock held for a scope.
#pragma once

#include <mutex>

/// Something that one thread of the process may use at a time. A thread may take it more than once.
using CriticalResource = std::recursive_mutex;

/// Owns a critical resource as long as it lives, also while an exception passes.
class OwnedCriticalResource {
public:
    /// Waits until no other thread owns the resource, which must outlive this object.
    explicit OwnedCriticalResource(CriticalResource& resource) : m_lock(resource) {}

private:
    std::lock_guard<CriticalResource> m_lock;
};
