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

void DetachProcess() {
    try {
        GlobalCaches::DumpCacheStatistics();
    } catch (...) {  // NOLINT(bugprone-empty-catch): statistics must not keep the library from unloading
    }
    UtilitiesDllPerThreadStorage::CleanUpDueToProcessDetach();
}

}  // namespace

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
