// The library's load and unload.
#include "utilities/utilitiesdll/libraryentry.h"

#include <chrono>

#include "platform/libraryentry.h"
#include "utilities/attributebytes/globalcaches.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

constinit LibraryLoad libraryLoad{};

void AttachProcess(HINSTANCE module) {
    libraryLoad.module = module;
    UtilitiesDllPerThreadStorage::InitializeDueToProcessAttach();
    libraryLoad.tickCount = GetMonotonicTickCount();
}

void DetachProcess() {
    try {
        GlobalCaches::DumpCacheStatistics();
    } catch (...) {  // NOLINT(bugprone-empty-catch): statistics must not keep the library from unloading
    }
    UtilitiesDllPerThreadStorage::CleanUpDueToProcessDetach();
}

}  // namespace

LibraryLoad GetLibraryLoad() {
    return libraryLoad;
}

DWORD GetMonotonicTickCount() {
    using namespace std::chrono;
    return static_cast<DWORD>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

bool platform::LibraryEntry(LibraryEntryReason reason, HINSTANCE module) {
    switch (reason) {
        case LibraryEntryReason::ProcessAttach:
            AttachProcess(module);
            break;
        case LibraryEntryReason::ProcessDetach:
            DetachProcess();
            break;
        case LibraryEntryReason::ThreadDetach:
            UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(false);
            break;
        case LibraryEntryReason::ThreadAttach:
            break;
    }
    return true;
}
