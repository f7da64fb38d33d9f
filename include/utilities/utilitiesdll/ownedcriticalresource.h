// OwnedCriticalResource: a process-wide lock held for a scope.
#pragma once

#include <mutex>

#include "platform/types.h"

/// Something that one thread of the process may use at a time. A thread may take it more than once.
using CriticalResource = std::recursive_mutex;

/// The locks of the library's process-wide state, in the order in which a thread that needs several takes
/// them.
enum class ProcessLock { ProductData, Cabinets, ThreadStorage };

/// A lock of the process. It is never destroyed, and a child of fork finds it free.
NVUTIL_API CriticalResource& GetProcessLock(ProcessLock lock);

/// Owns a critical resource as long as it lives, also while an exception passes.
class OwnedCriticalResource {
public:
    /// Waits until no other thread owns the resource, which must outlive this object.
    explicit OwnedCriticalResource(CriticalResource& resource) : m_lock(resource) {}

private:
    std::lock_guard<CriticalResource> m_lock;
};
