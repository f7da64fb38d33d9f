// UtilitiesDllPerThreadStorage: the slot, the objects of all threads and the lock that guards them.
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

#include <atomic>
#include <new>
#include <vector>

#include "platform/localmemory.h"
#include "platform/threadslot.h"
#include "utilities/debuggingandexceptions/throwprotocol.h"
#include "utilities/utilitiesdll/ownedcriticalresource.h"
#include "utilities/utilitiesdll/smallobject.h"

namespace {

// Deliberately only set and never tested: a marker for those who read a memory dump.
enum StateWord : DWORD { stateUnloading = 0, stateMakingObject = 23456, stateReady = 34567 };

struct ProcessWideState {
    CriticalResource& lock = GetProcessLock(ProcessLock::ThreadStorage);
    std::atomic<platform::ThreadSlot> slot = platform::invalidThreadSlot;  // written under the lock only
    std::vector<UtilitiesDllPerThreadStorage*> objects;
    volatile DWORD stateWord = stateUnloading;
};

// Made before the library's static objects and never destroyed: load and unload may come before and after
// the lifetime of every static object.
ProcessWideState& State() {
    static ProcessWideState& state = *new ProcessWideState;
    return state;
}

}  // namespace

ExecutionContextStack& UtilitiesDllPerThreadStorage::GetExecutionContextStack() {
    std::unique_ptr<ExecutionContextStack>& stack =
        GetUtilitiesDllPerThreadStorageObject().m_executionContextStack;
    if (stack == nullptr) stack = std::make_unique<ExecutionContextStack>();
    return *stack;
}

ExecutionContextStack UtilitiesDllPerThreadStorage::CopyExecutionContextStack() {
    const UtilitiesDllPerThreadStorage* object = FindObject();
    return object != nullptr && object->m_executionContextStack != nullptr ? *object->m_executionContextStack
                                                                           : ExecutionContextStack();
}

UtilitiesDllPerThreadStorage& UtilitiesDllPerThreadStorage::GetUtilitiesDllPerThreadStorageObject() {
    if (UtilitiesDllPerThreadStorage* object = FindObject()) return *object;

    ProcessWideState& state = State();
    const OwnedCriticalResource lock(state.lock);
    if (state.slot == platform::invalidThreadSlot) {
        NV_THROW(ExceptionAccessPriorToInitialization,
                 "UtilitiesDllPerThreadStorage::GetUtilitiesDllPerThreadStorageObject", __LINE__,
                 NV_TEXT("the library is not loaded"));
    }
    if (UtilitiesDllPerThreadStorage* object = FindObject()) return *object;

    const DWORD savedStateWord = state.stateWord;
    state.stateWord = stateMakingObject;
    UtilitiesDllPerThreadStorage* object = MakeObject();
    if (object == nullptr) {
        NV_THROW(ExceptionOutOfMemory, "UtilitiesDllPerThreadStorage::GetUtilitiesDllPerThreadStorageObject",
                 __LINE__, NV_TEXT("no memory for a thread's storage of %ld bytes"),
                 static_cast<LONG>(sizeof(UtilitiesDllPerThreadStorage)));
    }
    state.stateWord = savedStateWord == stateMakingObject ? stateReady : savedStateWord;
    return *object;
}

void UtilitiesDllPerThreadStorage::Prepare() noexcept {
    if (FindObject() != nullptr) return;
    try {
        GetUtilitiesDllPerThreadStorageObject();
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): the thread goes on without an object
    }
}

std::size_t UtilitiesDllPerThreadStorage::GetObjectCount() {
    ProcessWideState& state = State();
    const OwnedCriticalResource lock(state.lock);
    return state.objects.size();
}

void UtilitiesDllPerThreadStorage::InitializeDueToProcessAttach() {
    ProcessWideState& state = State();
    const OwnedCriticalResource lock(state.lock);
    if (state.slot == platform::invalidThreadSlot)
        state.slot = platform::AllocateThreadSlot(&CleanUpAtThreadExit);
    state.stateWord = stateReady;
}

void UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(bool /*ignored*/) {
    ProcessWideState& state = State();
    const OwnedCriticalResource lock(state.lock);
    if (state.slot == platform::invalidThreadSlot) return;

    UtilitiesDllPerThreadStorage* object = FindObject();
    if (object == nullptr) return;
    std::erase(state.objects, object);
    DestroyObject(object);
    platform::SetThreadSlot(state.slot, nullptr);
    nvutil::SmallObjectMemory::StopKeeping();
}

void UtilitiesDllPerThreadStorage::CleanUpDueToProcessDetach() {
    ProcessWideState& state = State();
    const OwnedCriticalResource lock(state.lock);
    if (state.slot == platform::invalidThreadSlot) return;

    state.stateWord = stateUnloading;
    // One at a time: what ends with an object may ask for the calling thread's object once more.
    for (;;) {
        CleanUpDueToThreadDetach(false);
        if (state.objects.empty()) break;
        UtilitiesDllPerThreadStorage* object = state.objects.back();
        state.objects.pop_back();
        DestroyObject(object);
    }
    platform::FreeThreadSlot(state.slot);
    state.slot = platform::invalidThreadSlot;
}

UtilitiesDllPerThreadStorage* UtilitiesDllPerThreadStorage::FindObject() {
    const platform::ThreadSlot slot = State().slot;
    if (slot == platform::invalidThreadSlot) return nullptr;
    return static_cast<UtilitiesDllPerThreadStorage*>(platform::GetThreadSlot(slot));
}

// Makes the calling thread's object, enters it in the vector and stores it in the slot; null without memory.
// Called with the lock held.
UtilitiesDllPerThreadStorage* UtilitiesDllPerThreadStorage::MakeObject() {
    ProcessWideState& state = State();
    void* memory = platform::AllocateLocal(sizeof(UtilitiesDllPerThreadStorage));
    if (memory == nullptr) return nullptr;

    auto* object = new (memory) UtilitiesDllPerThreadStorage;
    try {
        state.objects.push_back(object);
        if (platform::SetThreadSlot(state.slot, object)) {
            nvutil::SmallObjectMemory::StartKeeping();
            return object;
        }
        state.objects.pop_back();
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): no memory is the result below
    }
    DestroyObject(object);
    return nullptr;
}

void UtilitiesDllPerThreadStorage::DestroyObject(UtilitiesDllPerThreadStorage* object) {
    object->~UtilitiesDllPerThreadStorage();
    platform::FreeLocal(object);
}

// The platform has emptied the slot before it tells of the thread's end; the clean-up looks there.
void UtilitiesDllPerThreadStorage::CleanUpAtThreadExit(void* object) {
    ProcessWideState& state = State();
    const OwnedCriticalResource lock(state.lock);
    if (state.slot == platform::invalidThreadSlot) return;  // unloaded meanwhile, the object is gone

    platform::SetThreadSlot(state.slot, object);
    CleanUpDueToThreadDetach(false);
}
