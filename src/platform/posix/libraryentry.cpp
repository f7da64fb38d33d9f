// The entries that the dynamic linker calls. Thread ends arrive through the thread-local slot.
//
// Once loaded the library stays (it is linked with "-z nodelete"): any thread that entered it has a
// destructor in it to run. So the last call comes when the process ends.
#include "platform/libraryentry.h"

namespace platform {

namespace {

[[gnu::constructor]] void AttachProcess() {
    LibraryEntry(LibraryEntryReason::ProcessAttach, nullptr);
}

[[gnu::destructor]] void ExitProcess() {
    LibraryEntry(LibraryEntryReason::ProcessExit, nullptr);
}

}  // namespace

}  // namespace platform
