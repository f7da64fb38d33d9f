// UtilitiesDllPerThreadStorage: what the library keeps for each thread that enters it.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/types.h"
#include "utilities/debuggingandexceptions/executioncontext.h"

class DeviceSettingsManagerCache;
class XDevmodeAttributeBytesIndexedListCache;
class XDevmodePropertyBagCache;

/// One thread's execution contexts and caches.
///
/// A thread's object is made on its first request and destroyed at the thread's end, or for all threads when
/// the library is unloaded. Everything an object owns is used by its own thread only.
class NVUTIL_API UtilitiesDllPerThreadStorage {
public:
    UtilitiesDllPerThreadStorage(const UtilitiesDllPerThreadStorage&) = delete;
    UtilitiesDllPerThreadStorage& operator=(const UtilitiesDllPerThreadStorage&) = delete;

    // The calling thread's parts, each made on its first request.
    // @throws what GetUtilitiesDllPerThreadStorageObject throws
    static ExecutionContextStack& GetExecutionContextStack();
    static XDevmodePropertyBagCache& GetXDevmodePropertyBagCache();
    static XDevmodeAttributeBytesIndexedListCache& GetXDevmodeAttributeBytesIndexedListCache();
    static DeviceSettingsManagerCache& GetDeviceSettingsManagerCache();

    /// The calling thread's contexts for an exception; empty, and nothing is made, when the thread has none.
    /// Unlike the requests above it may be called at any time, also after the library was unloaded.
    static ExecutionContextStack CopyExecutionContextStack();
    /// Statistics of those caches that the calling thread has, one line each; empty when it has none.
    static CXString GetCacheStatisticsDisplayString();

    /// The calling thread's object, made on the first request.
    /// @throws ExceptionOutOfMemory when there is no memory for it
    /// @throws ExceptionAccessPriorToInitialization when the library is not loaded, or no longer
    static UtilitiesDllPerThreadStorage& GetUtilitiesDllPerThreadStorageObject();
    /// Makes the calling thread's object when it has none and the library is loaded; does nothing where that
    /// fails.
    static void Prepare() noexcept;
    /// Number of threads that have an object.
    static std::size_t GetObjectCount();

    // The library's load and unload; see LibraryEntry.

    /// Allocates the thread-local slot.
    static void InitializeDueToProcessAttach();
    /// Destroys the calling thread's object when it has one.
    /// @param ignored  has no effect
    static void CleanUpDueToThreadDetach(bool ignored);
    /// Destroys the objects of all threads, whether they still run or not, and frees the slot.
    static void CleanUpDueToProcessDetach();

private:
    UtilitiesDllPerThreadStorage();
    ~UtilitiesDllPerThreadStorage();

    static UtilitiesDllPerThreadStorage* FindObject();
    static UtilitiesDllPerThreadStorage* MakeObject();
    static void DestroyObject(UtilitiesDllPerThreadStorage* object);
    static void CleanUpAtThreadExit(void* object);

    // Destroyed in reverse order: the caches first, then the stack.
    std::unique_ptr<ExecutionContextStack> m_executionContextStack;
    std::unique_ptr<XDevmodePropertyBagCache> m_propertyBagCache;
    std::unique_ptr<XDevmodeAttributeBytesIndexedListCache> m_attributeListCache;
    std::unique_ptr<DeviceSettingsManagerCache> m_deviceSettingsManagerCache;
};
