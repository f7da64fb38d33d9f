// The library's side of its load and unload.
#include "platform/libraryentry.h"
#include "utilities/attributebytes/globalcaches.h"
#include "utilities/utilitiesdll/libraryload.h"
#include "utilities/utilitiesdll/utilitiesdllperthreadstorage.h"

namespace {

void AttachProcess(HINSTANCE module) {
    UtilitiesDllPerThreadStorage::InitializeDueToProcessAttach();
    SetLibraryLoad({module, GetTickCountNow()});
}

void DumpCacheStatistics() {
    try {
        GlobalCaches::DumpCacheStatistics();
    } catch (...) {  // NOLINT(bugprone-empty-catch): statistics must not keep the library from unloading
    }
}

}  // namespace

bool platform::LibraryEntry(LibraryEntryReason reason, HINSTANCE module) {
    switch (reason) {
        case LibraryEntryReason::ProcessAttach:
            AttachProcess(module);
            break;
        case LibraryEntryReason::ProcessDetach:
            DumpCacheStatistics();
            UtilitiesDllPerThreadStorage::CleanUpDueToProcessDetach();
            break;
        case LibraryEntryReason::ProcessExit:
            DumpCacheStatistics();
            UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(false);  // other threads may still run
            break;
        case LibraryEntryReason::ThreadDetach:
            UtilitiesDllPerThreadStorage::CleanUpDueToThreadDetach(false);
            break;
        case LibraryEntryReason::ThreadAttach:
            break;
    }
    return true;
}
